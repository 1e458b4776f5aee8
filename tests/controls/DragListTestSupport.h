#pragma once
// Shared scaffolding of the list-box tests: a shown host window with lists inside it, real mouse
// events sent the way the window system delivers them during a grab (to the grabbing viewport).

#include <QApplication>
#include <QTest>
#include <QWidget>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "controls/CInterDragListBox.h"
#include "controls/PlaylistArrays.h"

namespace tunivox::test {

// Records every player command and self-posted message it receives.
class CRecordingList : public CInterDragListBox
{
public:
    using CInterDragListBox::CInterDragListBox;

    std::vector<std::string> calls;

#define TUNIVOX_RECORD(name) void name() override { calls.push_back(#name); }
    TUNIVOX_RECORD(IncreaseVolume) TUNIVOX_RECORD(DecreaseVolume) TUNIVOX_RECORD(PausePlay) TUNIVOX_RECORD(ContinuePlay)
    TUNIVOX_RECORD(ClearList) TUNIVOX_RECORD(PlayNext) TUNIVOX_RECORD(PlayPrevius) TUNIVOX_RECORD(SaveToPlaylist)
    TUNIVOX_RECORD(StopPlay) TUNIVOX_RECORD(PlayPlay) TUNIVOX_RECORD(StartTunivoxMplayer) TUNIVOX_RECORD(RenumberItems)
#undef TUNIVOX_RECORD
    void SelectAllItems() override { calls.push_back("SelectAllItems"); CInterDragListBox::SelectAllItems(); }
    bool UserMessage(CUserMessageEvent* e) override
    {
        calls.push_back("message " + std::to_string(int(e->type())));
        return true;
    }
};

// A parent window that keeps a mirror of the playlist arrays, as the player's companion window does.
class CArraysHost : public QWidget, public IPlaylistArraysHost, public IPlaylistArrays
{
public:
    std::vector<int> removed;
    IPlaylistArrays* GetPlaylistArrays() override { return this; }
    void RemoveEntryAt(int index) override { removed.push_back(index); }
};

// Two lists of 200 x 200 side by side with room for the arrow heads, and a plain widget below.
class CListWindowTest : public ::testing::Test
{
protected:
    std::unique_ptr<CArraysHost> host = std::make_unique<CArraysHost>();
    CRecordingList* a = nullptr;
    CRecordingList* b = nullptr;
    QWidget* other = nullptr;

    CListWindowTest()
    {
        host->resize(520, 340);
        a = new CRecordingList(host.get());
        a->setGeometry(30, 20, 200, 200);
        b = new CRecordingList(host.get());
        b->setGeometry(280, 20, 200, 200);
        other = new QWidget(host.get());
        other->setGeometry(30, 250, 450, 60);
        host->show();
        host->activateWindow();
        (void)QTest::qWaitForWindowExposed(host.get());
    }
};

inline void Fill(CDragListBoxEx* list, int count, std::uint32_t dataBase = 100)
{
    for (int i = 0; i < count; ++i) {
        const int row = list->AddString(QStringLiteral("%1. Song %2").arg(i + 1).arg(i));
        list->SetItemData(row, dataBase + std::uint32_t(i));
    }
}

inline std::vector<QString> Texts(const CDragListBoxEx* list)
{
    std::vector<QString> texts;
    for (int i = 0; i < list->GetCount(); ++i)
        texts.push_back(list->GetText(i));
    return texts;
}

// The "Song k" parts of the items, in list order.
inline std::vector<int> SongOrder(const CDragListBoxEx* list)
{
    std::vector<int> order;
    for (const QString& text : Texts(list))
        order.push_back(text.section(QStringLiteral("Song "), 1).toInt());
    return order;
}

inline QPoint ItemCenter(const CDragListBoxEx* list, int index)
{
    QRect rect;
    return list->GetItemRect(index, &rect) ? rect.center() : QPoint();
}

// A point in `to`'s viewport expressed in `from`'s viewport coordinates (where grabbed events go).
inline QPoint Across(const CDragListBoxEx* from, const QWidget* to, QPoint ptInTo)
{
    return from->viewport()->mapFromGlobal(to->mapToGlobal(ptInTo));
}

inline void Press(CDragListBoxEx* list, QPoint pt) { QTest::mousePress(list->viewport(), Qt::LeftButton, {}, pt); }
inline void MoveTo(CDragListBoxEx* list, QPoint pt) { QTest::mouseMove(list->viewport(), pt); }
inline void Release(CDragListBoxEx* list, QPoint pt) { QTest::mouseRelease(list->viewport(), Qt::LeftButton, {}, pt); }

// Presses at `from` and moves far enough to start a drag, ending at `to` (both in list coordinates).
inline void StartDrag(CDragListBoxEx* list, QPoint from, QPoint to)
{
    Press(list, from);
    const int beyond = QApplication::startDragDistance() + 1;
    MoveTo(list, from + QPoint(0, from.y() > beyond ? -beyond : beyond));
    MoveTo(list, to);
}

} // namespace tunivox::test
