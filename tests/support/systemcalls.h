// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QScopeGuard>
#include <QThreadPool>

#include <cerrno>
#include <cstddef>
#include <functional>
#include <future>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

/// Runs `work` in a thread of its own, and returns what it returns. Whenever that, or a thread of Qt's global
/// pool that it starts, is about to ask the system for one of `calls`, `answer` comes first, which may do to
/// the files what others might do in that moment: the call then fails with the error number that `answer`
/// returns, or with 0 takes place.
template <typename Work>
auto withSystemCalls(const std::vector<long> &calls, const std::function<int(const seccomp_data &)> &answer,
                     const Work &work)
{
    std::vector<sock_filter> filter{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const long call : calls) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<__u32>(call), 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    std::promise<long> listening;
    QThreadPool::globalInstance()->waitForDone(); // none is left that was started before
    auto result = std::async(std::launch::async, [&] {
        const auto pool = qScopeGuard([] { QThreadPool::globalInstance()->waitForDone(); });
        prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
        listening.set_value(
            syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program));
        return work();
    });
    const int listener = static_cast<int>(listening.get_future().get());
    // It hangs up when the thread has ended.
    pollfd waiting{listener, POLLIN, 0};
    while (listener >= 0 && poll(&waiting, 1, -1) == 1 && waiting.revents == POLLIN) {
        seccomp_notif call{};
        ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &call);
        const int error = answer(call.data);
        const __u32 flags = error == 0 ? SECCOMP_USER_NOTIF_FLAG_CONTINUE : 0;
        seccomp_notif_resp response{call.id, 0, -error, flags};
        ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &response);
    }
    close(listener);
    return result.get();
}

/// Whether the system lets tests do so: it does not where somebody else answers already.
inline bool canAnswerSystemCalls()
{
    return withSystemCalls(
        {SYS_getppid}, [](auto &) { return EPERM; }, [] { return syscall(SYS_getppid) < 0; });
}
