#include "visual/COptionsDlg.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>
#include <algorithm>

#include "controls/CColorButton.h"
#include "visual/VisualImages.h"

using namespace VisualOptions;

namespace {

qsizetype IndexIgnoringCase(const QStringList& list, const QString& text)
{
    for (qsizetype i = 0; i < list.size(); ++i)
        if (list[i].compare(text, Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}

QString IdName(int nId) { return QStringLiteral("idc%1").arg(nId); }

QSlider* MakeSlider(int nId, int nMin, int nMax, QWidget* parent)
{
    auto* slider = new QSlider(Qt::Horizontal, parent);
    slider->setObjectName(IdName(nId));
    slider->setRange(nMin, nMax);
    return slider;
}

QLabel* MakeLabel(int nId, QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setObjectName(IdName(nId));
    label->setMinimumWidth(50);
    return label;
}

// Every family once (ignoring case), sorted ignoring case.
QStringList FontFaces()
{
    QStringList faces;
    for (const QString& family : QFontDatabase::families()) {
        const bool known = std::any_of(faces.cbegin(), faces.cend(), [&](const QString& f) {
            return f.compare(family, Qt::CaseInsensitive) == 0;
        });
        if (!known)
            faces.append(family);
    }
    std::sort(faces.begin(), faces.end(), [](const QString& a, const QString& b) {
        return a.compare(b, Qt::CaseInsensitive) < 0;
    });
    return faces;
}

} // namespace

COptionsDlg::COptionsDlg(QWidget* parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Visualization options"));
    setWindowIcon(QIcon(QPixmap::fromImage(VisualDefaultArt())));

    m_pFace = new QComboBox(this);
    m_pFace->setObjectName(IdName(IDC_FONT_FACE));
    m_pFace->setEditable(true);
    m_pFace->setInsertPolicy(QComboBox::NoInsert);
    m_pFace->lineEdit()->setMaxLength(255);
    // As wide as the longest face: names such as "DejaVu Sans" and "TeX Gyre" stay whole.
    m_pFace->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_pFace->view()->setTextElideMode(Qt::ElideNone);
    m_pSize = new QComboBox(this);
    m_pSize->setObjectName(IdName(IDC_FONT_SIZE));
    m_pSize->setEditable(true);
    m_pSize->setInsertPolicy(QComboBox::NoInsert);
    m_pSize->lineEdit()->setMaxLength(4);
    m_pFontColour = new CColorButton(this);
    m_pFontColour->setObjectName(IdName(IDC_FONT_COLOUR));
    m_pBoxColour = new CColorButton(this);
    m_pBoxColour->setObjectName(IdName(IDC_BOX_COLOUR));
    m_pSlideShow = MakeSlider(IDC_SLIDESHOW, 1, 15, this);
    m_pSlideShowLabel = MakeLabel(IDC_SLIDESHOW_LABEL, this);
    m_pSpeed = MakeSlider(IDC_SPEED, 1, 10, this);
    m_pSpeedLabel = MakeLabel(IDC_SPEED_LABEL, this);
    m_pArt = MakeSlider(IDC_ART_TRANSPARENCY, 0, 255, this);
    m_pArtLabel = MakeLabel(IDC_ART_LABEL, this);
    m_pBox = MakeSlider(IDC_BOX_TRANSPARENCY, 0, 255, this);
    m_pBoxLabel = MakeLabel(IDC_BOX_LABEL, this);
    m_pShowFPS = new QCheckBox(QStringLiteral("Show FPS"), this);
    m_pShowFPS->setObjectName(IdName(IDC_SHOW_FPS));
    m_pSyncLyrics = new QCheckBox(QStringLiteral("Synchronised lyrics (follow the song's time stamps)"), this);
    m_pSyncLyrics->setObjectName(IdName(IDC_SYNC_LYRICS));
    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(QStringLiteral("&OK"), QDialogButtonBox::AcceptRole)->setObjectName(IdName(1));
    buttons->addButton(QStringLiteral("&Cancel"), QDialogButtonBox::RejectRole)->setObjectName(IdName(2));
    connect(buttons, &QDialogButtonBox::accepted, this, &COptionsDlg::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &COptionsDlg::reject);

    auto* grid = new QGridLayout(this);
    int row = 0;
    const auto addRow = [&](const QString& text, QWidget* control, QWidget* label = nullptr) {
        auto* caption = new QLabel(text, this);
        caption->setBuddy(control);
        grid->addWidget(caption, row, 0);
        grid->addWidget(control, row, 1);
        if (label)
            grid->addWidget(label, row, 2);
        ++row;
    };
    addRow(QStringLiteral("Lyrics font face:"), m_pFace);
    addRow(QStringLiteral("Font size:"), m_pSize);
    addRow(QStringLiteral("Lyrics font color:"), m_pFontColour);
    addRow(QStringLiteral("Lyrics background box color:"), m_pBoxColour);
    addRow(QStringLiteral("Arts slideshow timeout:"), m_pSlideShow, m_pSlideShowLabel);
    addRow(QStringLiteral("Lyrics movement speed:"), m_pSpeed, m_pSpeedLabel);
    addRow(QStringLiteral("Arts transparency:"), m_pArt, m_pArtLabel);
    addRow(QStringLiteral("Lyrics box transparency:"), m_pBox, m_pBoxLabel);
    grid->addWidget(m_pShowFPS, row++, 0, 1, 3);
    grid->addWidget(m_pSyncLyrics, row++, 0, 1, 3);
    grid->addWidget(buttons, row, 0, 1, 3);

    for (auto [slider, id] : {std::pair{m_pSlideShow, int(IDC_SLIDESHOW)}, std::pair{m_pSpeed, int(IDC_SPEED)},
                              std::pair{m_pArt, int(IDC_ART_TRANSPARENCY)}, std::pair{m_pBox, int(IDC_BOX_TRANSPARENCY)}})
        connect(slider, &QSlider::valueChanged, this, [this, id = id](int pos) { OnSliderMoved(id, pos); });
    connect(m_pFontColour, &CColorButton::ColourChanged, this, &COptionsDlg::OnColourChanged);
    connect(m_pBoxColour, &CColorButton::ColourChanged, this, &COptionsDlg::OnColourChanged);
    connect(m_pFace, &QComboBox::activated, this, &COptionsDlg::OnFaceSelected);
    connect(m_pFace->lineEdit(), &QLineEdit::textEdited, this, &COptionsDlg::OnFaceTyped);
    connect(m_pSize, &QComboBox::activated, this, &COptionsDlg::OnSizeSelected);
    connect(m_pSize->lineEdit(), &QLineEdit::textEdited, this, &COptionsDlg::OnSizeTyped);
}

COptionsDlg::~COptionsDlg() = default;

QWidget* COptionsDlg::Control(int nId) const
{
    return findChild<QWidget*>(IdName(nId));
}

void COptionsDlg::showEvent(QShowEvent* event)
{
    if (!m_bInitialised) {
        m_bInitialised = true;
        OnInitDialog();
    }
    QDialog::showEvent(event);
}

void COptionsDlg::OnInitDialog()
{
    m_bFilling = true;
    m_arrFaces = FontFaces();
    m_pFace->addItems(m_arrFaces);
    qsizetype face = IndexIgnoringCase(m_arrFaces, m_settings.m_strFontName);
    if (face < 0) {
        // A face this system does not have (the default "Segoe UI" on Linux): the application's
        // font, as installed, at its size; the lyrics would be drawn in it anyway.
        const QFont fallback = QApplication::font();
        face = IndexIgnoringCase(m_arrFaces, QFontInfo(fallback).family());
        if (face >= 0 && fallback.pointSize() > 0)
            m_settings.m_nFontSize = fallback.pointSize();
    }
    if (face >= 0) {
        m_settings.m_strFontName = m_arrFaces[face].left(VISUAL_FONT_NAME_MAX);
        FillSizes(m_arrFaces[face]);
        m_pFace->setCurrentIndex(static_cast<int>(face));
    } else {
        m_pFace->setEditText(m_settings.m_strFontName);
    }
    const int art = TransparencyToSlider(m_settings.m_nArtTransparency);
    m_pArt->setValue(art);
    m_pArtLabel->setText(PercentLabel(art));
    const int box = BoxAlphaToSlider(m_settings.m_clrLyricsBox);
    m_pBox->setValue(box);
    m_pBoxLabel->setText(PercentLabel(box));
    const int slide = SlideShowToSlider(m_settings.m_nSlideShowTimeout);
    m_pSlideShow->setValue(slide);
    m_pSlideShowLabel->setText(SecondsLabel(slide));
    const int speed = SpeedToSlider(m_settings.m_nLyricsSpeed);
    m_pSpeed->setValue(speed);
    m_pSpeedLabel->setText(SpeedLabel(speed));
    m_pFontColour->SetColour(ArgbToColorRef(m_settings.m_clrFont));
    m_pBoxColour->SetColour(ArgbToColorRef(m_settings.m_clrLyricsBox));
    m_pShowFPS->setChecked(m_settings.m_bShowFPS != 0);
    m_pSyncLyrics->setChecked(m_settings.m_bSyncLyrics != 0);
    m_bFilling = false;
    // The faces arrived after the layout sized the dialog: room for the longest name.
    m_pFace->updateGeometry();
    adjustSize();
}

void COptionsDlg::FillSizes(const QString& face)
{
    const bool filling = m_bFilling;
    m_bFilling = true;
    m_arrSizes.clear();
    m_bScalable = QFontDatabase::isSmoothlyScalable(face);
    if (m_bScalable) {
        m_arrSizes = StandardFontSizes();
    } else {
        for (int size : QFontDatabase::pointSizes(face))
            if (!m_arrSizes.contains(size))
                m_arrSizes.append(size);
    }
    std::sort(m_arrSizes.begin(), m_arrSizes.end());
    m_pSize->clear();
    for (int size : m_arrSizes)
        m_pSize->addItem(QString::number(size));
    const int index = FontSizeIndex(m_arrSizes, m_settings.m_nFontSize);
    if (index >= 0) {
        m_pSize->setCurrentIndex(index);
        m_settings.m_nFontSize = m_arrSizes[index];
    }
    m_bFilling = filling;
}

void COptionsDlg::OnSliderMoved(int nId, int nPos)
{
    if (m_bFilling)
        return;
    switch (nId) {
    case IDC_BOX_TRANSPARENCY:
        m_settings.m_clrLyricsBox = SliderToBoxColour(m_settings.m_clrLyricsBox, nPos);
        m_pBoxLabel->setText(PercentLabel(nPos));
        break;
    case IDC_ART_TRANSPARENCY:
        m_settings.m_nArtTransparency = SliderToTransparency(nPos);
        m_pArtLabel->setText(PercentLabel(nPos));
        break;
    case IDC_SLIDESHOW:
        m_settings.m_nSlideShowTimeout = SliderToSlideShow(nPos);
        m_pSlideShowLabel->setText(SecondsLabel(nPos));
        break;
    case IDC_SPEED:
        m_settings.m_nLyricsSpeed = SliderToSpeed(nPos);
        m_pSpeedLabel->setText(SpeedLabel(nPos));
        break;
    default:
        break;
    }
}

void COptionsDlg::OnColourChanged()
{
    // Both colours come back opaque: picking a font colour also makes the box opaque until its
    // slider moves again, as the dialog has always done.
    m_settings.m_clrFont = ColorRefToOpaqueArgb(m_pFontColour->GetColour());
    m_settings.m_clrLyricsBox = ColorRefToOpaqueArgb(m_pBoxColour->GetColour());
}

void COptionsDlg::OnFaceSelected(int nIndex)
{
    if (nIndex < 0 || nIndex >= m_arrFaces.size())
        return;
    m_settings.m_strFontName = m_arrFaces[nIndex].left(VISUAL_FONT_NAME_MAX);
    FillSizes(m_arrFaces[nIndex]);
    m_pFace->setCurrentIndex(nIndex);
}

void COptionsDlg::OnFaceTyped(const QString& text)
{
    const qsizetype index = IndexIgnoringCase(m_arrFaces, text);
    if (index < 0)
        return;
    m_settings.m_strFontName = m_arrFaces[index].left(VISUAL_FONT_NAME_MAX);
    FillSizes(m_arrFaces[index]);
    m_pFace->lineEdit()->setCursorPosition(static_cast<int>(text.size()));
}

void COptionsDlg::OnSizeSelected(int nIndex)
{
    if (nIndex >= 0 && nIndex < m_arrSizes.size())
        m_settings.m_nFontSize = m_arrSizes[nIndex];
}

void COptionsDlg::OnSizeTyped(const QString& text)
{
    m_settings.m_nFontSize = LeadingNumber(text);
}

void COptionsDlg::accept()
{
    m_settings.m_bShowFPS = m_pShowFPS->isChecked() ? 1 : 0;
    m_settings.m_bSyncLyrics = m_pSyncLyrics->isChecked() ? 1 : 0;
    QDialog::accept();
}
