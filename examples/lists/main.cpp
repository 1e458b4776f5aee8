// Try the list and widget controls by hand: two drag lists side by side (drag within a list to
// reorder, between them to move), a coloured-range slider and a colour button. The lists' player
// commands and the widgets' notifications are written to the log line at the bottom.
//
//   tunivox-lists [--screenshot file.png]   (the option saves the window and quits)
#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QTimer>

#include "controls/CColorButton.h"
#include "controls/CInterDragListBox.h"
#include "controls/CSliderCtrlEx.h"

namespace {

QLabel* g_pLog = nullptr;

void Log(const QString& text)
{
    if (g_pLog)
        g_pLog->setText(text);
}

// Shows which player command a key reached.
class CDemoList : public CInterDragListBox
{
public:
    CDemoList(const QString& name, QWidget* parent) : CInterDragListBox(parent), m_name(name)
    {
        setSelectionMode(QAbstractItemView::ExtendedSelection);
    }

    void IncreaseVolume() override { Log(m_name + ": IncreaseVolume"); }
    void DecreaseVolume() override { Log(m_name + ": DecreaseVolume"); }
    void PausePlay() override { Log(m_name + ": PausePlay"); }
    void ClearList() override { Log(m_name + ": ClearList"); }
    void PlayNext() override { Log(m_name + ": PlayNext"); }
    void PlayPrevius() override { Log(m_name + ": PlayPrevius"); }
    void SaveToPlaylist() override { Log(m_name + ": SaveToPlaylist"); }
    void StopPlay() override { Log(m_name + ": StopPlay"); }
    void PlayPlay() override { Log(m_name + ": PlayPlay " + GetText(GetCurSel())); }
    void StartTunivoxMplayer() override { Log(m_name + ": StartTunivoxMplayer"); }
    void RenumberItems() override { Log(m_name + ": RenumberItems"); }

private:
    QString m_name;
};

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QWidget window;
    window.setWindowTitle(QStringLiteral("Tunivox list controls"));
    auto* grid = new QGridLayout(&window);
    grid->setContentsMargins(16, 16, 16, 16);
    grid->setHorizontalSpacing(24);

    const QStringList titles = {"Morning Light", "Harbour Walk", "Paper Moons", "Quiet Engines", "Northbound",
                                "Glass Garden", "Late Tram", "Salt and Cedar", "Low Tide", "Copper Sky"};
    auto* left = new CDemoList(QStringLiteral("left"), &window);
    auto* right = new CDemoList(QStringLiteral("right"), &window);
    for (int i = 0; i < 40; ++i)
        left->AddString(QStringLiteral("%1. %2").arg(i + 1).arg(titles[i % titles.size()]));
    for (int i = 0; i < 5; ++i)
        right->AddString(QStringLiteral("%1. Queue item %2").arg(i + 1).arg(QChar(u'A' + i)));
    grid->addWidget(new QLabel(QStringLiteral("Playlist"), &window), 0, 0);
    grid->addWidget(new QLabel(QStringLiteral("Queue"), &window), 0, 1);
    grid->addWidget(left, 1, 0);
    grid->addWidget(right, 1, 1);

    auto* position = new CSliderCtrlEx(&window);
    position->SetRange(0, 2400);
    position->SetPos(900);
    auto* volume = new CSliderCtrlEx(&window);
    volume->SetRange(0, 100);
    volume->SetPos(70);
    volume->SetRangeColours(QColor(0x3c, 0xc8, 0x8c), QColor(0xe8, 0x9a, 0x2c));
    volume->setMaximumWidth(140);
    auto* colour = new CColorButton(&window);
    colour->SetDefaultColour(RGB(0xFF, 0xFF, 0xFF));
    colour->SetColour(RGB(0x33, 0x66, 0xFF));

    auto* controls = new QHBoxLayout;
    controls->addWidget(position, 1);
    controls->addWidget(volume);
    controls->addWidget(colour);
    grid->addLayout(controls, 2, 0, 1, 2);
    g_pLog = new QLabel(QStringLiteral("Drag items; keys: Enter + - P C N B S, Ctrl+A/S/Z, Delete"), &window);
    grid->addWidget(g_pLog, 3, 0, 1, 2);

    auto logScroll = [](const char* name) {
        return [name](unsigned code, unsigned pos) { Log(QStringLiteral("%1 slider: code %2 pos %3").arg(name).arg(code).arg(pos)); };
    };
    QObject::connect(position, &CSliderCtrlEx::Scroll, logScroll("position"));
    QObject::connect(volume, &CSliderCtrlEx::Scroll, logScroll("volume"));
    QObject::connect(colour, &CColorButton::ColourChanged,
                     [](COLORREF c) { Log(QStringLiteral("colour 0x%1").arg(c, 8, 16, QChar(u'0'))); });

    window.resize(620, 420);
    window.show();

    const QStringList args = QApplication::arguments();
    const int shot = args.indexOf(QStringLiteral("--screenshot"));
    if (shot > 0 && shot + 1 < args.size()) {
        const QString path = args[shot + 1];
        QTimer::singleShot(200, &window, [&window, path] {
            const bool saved = window.grab().save(path);
            QApplication::exit(saved ? 0 : 1);
        });
    }
    return app.exec();
}
