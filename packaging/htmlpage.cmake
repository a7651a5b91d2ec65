# SPDX-License-Identifier: GPL-3.0-or-later
# cmake -DPROGRAM=cmark-gfm -DSOURCE=page.md -DPAGE=page.html -P htmlpage.cmake: a page of the manual for the browser.
execute_process(COMMAND ${PROGRAM} --extension table --extension autolink ${SOURCE} OUTPUT_VARIABLE body
    COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCH "<h1>([^<]*)</h1>" heading "${body}")
set(title "${CMAKE_MATCH_1}")
# The contents of a page lead to its headings by names that cmark-gfm leaves to whoever shows the page.
string(REGEX MATCHALL "<h[23]>[^<]*</h[23]>" headings "${body}")
foreach(heading IN LISTS headings)
    string(REGEX REPLACE "<h([23])>(.*)</h[23]>" "\\2" text "${heading}")
    set(level ${CMAKE_MATCH_1})
    string(TOLOWER "${text}" name)
    string(REGEX REPLACE "[,.:()]" "" name "${name}")
    string(REPLACE " " "-" name "${name}")
    string(REPLACE "${heading}" "<h${level} id=\"${name}\">${text}</h${level}>" body "${body}")
endforeach()
# Pages refer to each other by the names of their sources.
string(REGEX REPLACE "href=\"([a-z-]+)\\.md" "href=\"\\1.html" body "${body}")
file(WRITE ${PAGE} "<!DOCTYPE html>
<html lang=\"es\">
<head>
<meta charset=\"utf-8\">
<meta name=\"viewport\" content=\"width=device-width\">
<title>${title}</title>
<style>
body { max-width: 46em; margin: 2em auto; padding: 0 1em; font-family: sans-serif; line-height: 1.5; color: #222 }
img { max-width: 100% }
table { border-collapse: collapse }
td, th { border: 1px solid #bbb; padding: .3em .6em; text-align: left; vertical-align: top }
pre { background: #f4f4f0; padding: .8em; overflow-x: auto }
code { background: #f4f4f0 }
</style>
</head>
<body>
${body}</body>
</html>
")
