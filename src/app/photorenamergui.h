// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/processoptions.h"
#include "data/preset.h"

#include <QColor>
#include <QMainWindow>
#include <QPixmap>
#include <QPointer>
#include <QStringList>

class QAbstractButton;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QGroupBox;
class QLabel;
class QLineEdit;
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
    PhotoRenamerGUI();

    /// Waits for a job that is still running: photos are never left in the middle.
    ~PhotoRenamerGUI() override;

protected:
    void resizeEvent(QResizeEvent *event) override;

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
    void applyStartValues();

    // The wiring.
    void connectWidgets();
    void connectButtons();
    void connectEnableRules();
    void connectPreview();
    void applyEnableRules();

    // The state of the widgets as one value, and back.
    Preset presetFromWidgets() const;
    void applyPreset(const Preset &preset);
    ProcessOptions currentOptions() const;
    void setLogoPath(const QString &path);
    void setFontPath(const QString &path);
    void setFontColor(const QString &name);
    void setArrowColor(const QColor &color);

    void startBatch();
    void onBatchFinished();
    void onAltitudesFilled();
    void writeSampleFile(const QString &path);
    void showError(const QString &message);
    void appendLog(const QString &line);

    void showPhoto(const QString &path);
    void updateNavigation();
    void showPreviewMessage(const QString &message);
    void showScaledPreview();
    void rescalePreview();

    QLineEdit *directoryEdit = nullptr;
    QPushButton *selectDirButton = nullptr;
    QCheckBox *subdirsCheck = nullptr;
    QLineEdit *logoEdit = nullptr;
    QPushButton *selectLogoButton = nullptr;
    QLineEdit *fontEdit = nullptr;
    QPushButton *selectFontButton = nullptr;

    QRadioButton *exifRadio = nullptr;
    QRadioButton *txtRadio = nullptr;
    QButtonGroup *modeGroup = nullptr;
    QGroupBox *txtGroup = nullptr;
    QLineEdit *txtPathEdit = nullptr;
    QPushButton *selectTxtButton = nullptr;
    QPushButton *createSampleButton = nullptr;
    QPushButton *populateAltitudeButton = nullptr;
    QCheckBox *overwriteAltitudeCheck = nullptr;
    QCheckBox *sampleFromExifCheck = nullptr;
    QCheckBox *embedCsvCheck = nullptr;
    QCheckBox *renameCheck = nullptr;
    QCheckBox *prefixCheck = nullptr;
    QLineEdit *prefixEdit = nullptr;
    QCheckBox *outputFolderCheck = nullptr;
    QLineEdit *outputFolderEdit = nullptr;
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

    QPointer<QProgressDialog> progressDialog; ///< of the running batch

    QString fontPathValue; ///< full path; `fontEdit` shows the file name alone
    QString logoPathValue; ///< full path; `logoEdit` shows the file name alone
    QString fontColorName = QStringLiteral("#FFFFFF");
    QColor arrowColor = Qt::red;

    QString currentPreviewPath;
    QPixmap previewPixmap; ///< the last good preview, at full size
    QStringList imageFiles;
    int previewIndex = -1;
    bool applyingPreset = false; ///< the preview waits until all of a profile is applied

    QString altitudeProvider;
    QString googleApiKey;
    int jpegQuality = 90;
};
