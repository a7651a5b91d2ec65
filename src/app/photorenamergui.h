// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/photobrowser.h"
#include "data/coordinatescache.h"
#include "data/elevationaccess.h"
#include "data/runrequest.h"
#include "processing/photoprocessor.h"

#include <QColor>
#include <QMainWindow>
#include <QPixmap>
#include <QPointer>
#include <QTimer>

class BackgroundJob;
class PathEdit;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QGroupBox;
class QLabel;
class QMenu;
class QProgressDialog;
class QPushButton;
class QRadioButton;
class QTextEdit;

/// The main window: every option of a run, the preview, the log, and the flows that start from them.
///
/// The object name of each widget is the name of its member.
class PhotoRenamerGUI : public QMainWindow
{
    Q_OBJECT

public:
    /// `access` says where the elevation services are.
    explicit PhotoRenamerGUI(const ElevationAccess &access = elevationAccess());

    /// Breaks off a job that is still running, and waits for its end: photos are never left in the middle.
    ~PhotoRenamerGUI() override;

    /// The run that the widgets ask for.
    RunRequest currentRequest() const;

protected:
    bool event(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private slots:
    void selectDirectory();
    void selectLogo();
    void selectFont();
    void selectTxt();
    void selectColor();
    void createSampleFile();
    void onDirectoryChanged();
    void onNextPreview();
    void onPreviousPreview();
    void showPreviewAtIndex(int index);
    void updatePreview();
    void startProcess();
    void toggleMode();
    void savePreset();
    void loadPreset();
    void loadPresetFromCombo(const QString &name);
    void openSettingsDialog();
    void selectOutputDirectory();
    void populateAltitude();
    void selectCompassArrowColor();

private:
    void loadSettings();

    // The widget tree.
    void buildUi();
    QWidget *buildControlPanel(QWidget *parent);
    QGroupBox *buildInputGroup(QWidget *parent);
    QWidget *buildGeneralTab(QWidget *parent);
    QGroupBox *buildModeGroup(QWidget *parent);
    QGroupBox *buildCoordinatesGroup(QWidget *parent);
    QGroupBox *buildRenamingGroup(QWidget *parent);
    QGroupBox *buildOutputGroup(QWidget *parent);
    QWidget *buildTextTab(QWidget *parent);
    QWidget *buildLogoTab(QWidget *parent);
    QWidget *buildCompassTab(QWidget *parent);
    QGroupBox *buildLogGroup(QWidget *parent);
    QGroupBox *buildPreviewGroup(QWidget *parent);
    void buildMenus();
    void buildProfileMenu(QMenu *menu);
    void buildStatusBar();
    void fitIntoScreen();
    void applyStartValues();

    // The wiring.
    void connectWidgets();
    void connectButtons();
    void connectDrops();
    void connectEnableRules();
    void connectPreview();
    void applyEnableRules();

    // The state of the widgets as one value, and back.
    Preset presetFromWidgets() const;
    void applyPreset(const Preset &preset);
    void chooseLogo(const QString &path);
    void chooseFont(const QString &path);
    void setLogoPath(const QString &path);
    void setFontPath(const QString &path);
    void setFontColor(const QString &name);
    void setArrowColor(const QColor &color);

    void startBatch(const RunRequest &request);
    void onBatchFinished(const PhotoProcessor::Summary &summary);
    void onAltitudesFilled();
    void writeSample(const QString &path);
    void choosePreset();
    void showError(const QString &message);
    void appendLog(const QString &line);
    void tell(const QString &message, const QString &details = {});
    void tellBesideRun(const QString &message, const QString &details = {});
    void disableKeepingFocus(QWidget *widget, QWidget *refuge);

    void listPhotos();
    void listTypedPhotos();
    void showPhoto();
    void updateNavigation();
    void drawPreview();
    void showCaption(const QString &caption);
    void showPreviewMessage(const QString &message);
    void showScaledPreview();
    void rescalePreview();

    PathEdit *directoryEdit = nullptr;
    QPushButton *selectDirButton = nullptr;
    QCheckBox *subdirsCheck = nullptr;
    PathEdit *logoEdit = nullptr;
    QPushButton *selectLogoButton = nullptr;
    PathEdit *fontEdit = nullptr;
    QPushButton *selectFontButton = nullptr;

    QRadioButton *exifRadio = nullptr;
    QRadioButton *txtRadio = nullptr;
    QButtonGroup *modeGroup = nullptr;
    QGroupBox *txtGroup = nullptr;
    PathEdit *txtPathEdit = nullptr;
    QPushButton *selectTxtButton = nullptr;
    QPushButton *createSampleButton = nullptr;
    QPushButton *populateAltitudeButton = nullptr;
    QCheckBox *overwriteAltitudeCheck = nullptr;
    QCheckBox *sampleFromExifCheck = nullptr;
    QCheckBox *embedCsvCheck = nullptr;
    QCheckBox *renameCheck = nullptr;
    QCheckBox *prefixCheck = nullptr;
    PathEdit *prefixEdit = nullptr;
    QCheckBox *outputFolderCheck = nullptr;
    PathEdit *outputFolderEdit = nullptr;
    QPushButton *selectOutputButton = nullptr;
    QCheckBox *backupCheck = nullptr;

    QCheckBox *drawDataCheck = nullptr;
    QComboBox *dtPositionCombo = nullptr;
    QComboBox *coordsPositionCombo = nullptr;
    QComboBox *orientationPositionCombo = nullptr;
    QComboBox *altitudePositionCombo = nullptr;
    QDoubleSpinBox *fontSizeSpin = nullptr;
    QLabel *colorSwatch = nullptr;
    QPushButton *selectColorButton = nullptr;
    QCheckBox *drawOrientationCheck = nullptr;
    QCheckBox *drawAltitudeCheck = nullptr;
    QCheckBox *drawTimeCheck = nullptr;
    QCheckBox *bgTextCheck = nullptr;
    QCheckBox *drawGeoCheck = nullptr;

    QCheckBox *logoCheck = nullptr;
    QComboBox *logoPositionCombo = nullptr;
    QDoubleSpinBox *logoSizeSpin = nullptr;

    QCheckBox *compassCheck = nullptr;
    QComboBox *compassPositionCombo = nullptr;
    QDoubleSpinBox *compassSizeSpin = nullptr;
    QComboBox *compassStyleCombo = nullptr;
    QLabel *arrowColorSwatch = nullptr;
    QPushButton *selectArrowColorButton = nullptr;
    QCheckBox *rotateCompassCheck = nullptr;

    QPushButton *startButton = nullptr;
    QTextEdit *logView = nullptr;

    QGroupBox *previewGroup = nullptr;
    QLabel *previewLabel = nullptr;
    QPushButton *prevButton = nullptr;
    QPushButton *nextButton = nullptr;

    QComboBox *presetCombo = nullptr;
    QPushButton *loadPresetButton = nullptr;
    QPushButton *savePresetButton = nullptr;

    QLabel *photoCaption = nullptr; ///< in the status bar: the photo in the preview

    QPointer<BackgroundJob> batch;            ///< null when none runs
    QPointer<QProgressDialog> progressDialog; ///< of the running batch
    bool closeAfterBatch = false;
    QString runSummary; ///< how the last run ended; told until the next one
    QString runDetails;

    QString fontPathValue; ///< full path; `fontEdit` shows the file name alone
    QString logoPathValue; ///< full path; `logoEdit` shows the file name alone
    QString fontColorName = QStringLiteral("#FFFFFF");
    QColor arrowColor = Qt::red;

    PhotoBrowser browser;
    QTimer typingTimer{this}; ///< runs while a path is being typed that takes long to list
    bool directoryTyped = false;
    QPixmap previewPixmap;     ///< the last good preview, at full size
    QTimer previewTimer{this}; ///< runs while changes come that take long to draw
    qint64 previewTook = 0;    ///< milliseconds, the last time
    bool holdPreview = false;  ///< the preview waits until several changes are made
    CoordinatesCache coordinates;

    bool presetShown = false; ///< the profile list has just applied its choice
    const ElevationAccess access;
    QString altitudeProvider;
    QString googleApiKey;
    int jpegQuality = 90;
};
