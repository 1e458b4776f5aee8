#pragma once
// "Visualization options": edits a copy of the visualization settings. The caller copies its record
// into m_settings, runs the dialog and on OK takes m_settings back; Cancel leaves it untouched.
//
// Threading: GUI thread only (opened by the visualization window; rendering goes on meanwhile).

#include <QDialog>
#include <QStringList>
#include <QVector>

#include "visual/VisualSettings.h"
#include "tunivox_export.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QSlider;
class CColorButton;

class TUNIVOX_EXPORT COptionsDlg : public QDialog
{
    Q_OBJECT
public:
    enum
    {
        IDC_BOX_TRANSPARENCY = 1000, IDC_SLIDESHOW = 1001, IDC_BOX_LABEL = 1002, IDC_SLIDESHOW_LABEL = 1003,
        IDC_SPEED = 1004, IDC_SPEED_LABEL = 1005, IDC_ART_TRANSPARENCY = 1006, IDC_ART_LABEL = 1007,
        IDC_SHOW_FPS = 1008, IDC_FONT_COLOUR = 1117, IDC_BOX_COLOUR = 1118, IDC_FONT_FACE = 2001,
        IDC_FONT_SIZE = 2003,
        IDC_SYNC_LYRICS = 2010 // a check box of this library's own, after "Show FPS"
    };

    explicit COptionsDlg(QWidget* parent = nullptr);
    ~COptionsDlg() override;

    // A control by its id (the object name is "idc<id>").
    QWidget* Control(int nId) const;
    // Picks the face's sizes: its own for bitmap faces, the sixteen standard sizes when scalable.
    void FillSizes(const QString& face);
    const QVector<int>& FontSizes() const { return m_arrSizes; }

    VisualSettings m_settings;

public slots:
    void accept() override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void OnInitDialog();
    void OnSliderMoved(int nId, int nPos);
    void OnColourChanged();
    void OnFaceTyped(const QString& text);
    void OnFaceSelected(int nIndex);
    void OnSizeSelected(int nIndex);
    void OnSizeTyped(const QString& text);

    QComboBox* m_pFace = nullptr;
    QComboBox* m_pSize = nullptr;
    CColorButton* m_pFontColour = nullptr;
    CColorButton* m_pBoxColour = nullptr;
    QSlider* m_pSlideShow = nullptr;
    QSlider* m_pSpeed = nullptr;
    QSlider* m_pArt = nullptr;
    QSlider* m_pBox = nullptr;
    QLabel* m_pSlideShowLabel = nullptr;
    QLabel* m_pSpeedLabel = nullptr;
    QLabel* m_pArtLabel = nullptr;
    QLabel* m_pBoxLabel = nullptr;
    QCheckBox* m_pShowFPS = nullptr;
    QCheckBox* m_pSyncLyrics = nullptr;
    QStringList m_arrFaces;
    QVector<int> m_arrSizes;
    bool m_bScalable = false;
    bool m_bInitialised = false;
    bool m_bFilling = false;
};
