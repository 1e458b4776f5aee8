// The playlist's entries without a widget: each edit the list box makes keeps every entry its id and
// the playing entry its song; the arrays follow the classic rules; the watch set and the duplicate
// rule see every change.
#include <gtest/gtest.h>

#include <QSignalSpy>
#include <functional>

#include "session/PlaylistModel.h"

namespace {

struct Playlist
{
    CStringArray files;
    CStringArray titles;
    CPlaylistModel model{files, titles};

    // Songs "/m/a.mp3" ... titled "A" ...; the given one plays.
    explicit Playlist(const QString& names = QStringLiteral("abcd"), int playing = 1)
    {
        for (QChar name : names)
            model.Append(Path(name), name.toUpper(), 0, QString());
        model.SetPlaying(model.IdAt(playing));
    }
    static QString Path(QChar name) { return QStringLiteral("/m/%1.mp3").arg(name); }

    // The rows as their songs' letters ("-" for a row without a file).
    QString Rows() const
    {
        QString rows;
        for (int row = 0; row < model.RowCount(); ++row) {
            const QString& path = model.EntryAt(row)->strPath;
            rows += path.isEmpty() ? QChar('-') : path.at(3);
        }
        return rows;
    }
    QString Files() const
    {
        QString letters;
        for (const QString& path : files.Items())
            letters += path.at(3);
        return letters;
    }
};

} // namespace

TEST(PlaylistModel, EveryEditKeepsThePlayingEntryOnItsSong)
{
    const struct {
        const char* name;
        std::function<void(CPlaylistModel&)> edit;
        const char* rows;
        const char* files; // null: as the rows
        int playingRow;
        int goneRow;
    } cases[] = {
        {"drag the playing entry down", [](CPlaylistModel& m) { m.MoveRows({1}, 4); }, "acdb", "abcd", 3, -1},
        {"drag others around it", [](CPlaylistModel& m) { m.MoveRows({3, 0}, 2); }, "badc", "abcd", 0, -1},
        {"drag onto itself", [](CPlaylistModel& m) { m.MoveRows({1}, 1); }, "abcd", nullptr, 1, -1},
        {"delete before it", [](CPlaylistModel& m) { m.RemoveAt(0); }, "bcd", nullptr, 0, -1},
        {"delete it", [](CPlaylistModel& m) { m.RemoveAt(1); }, "acd", nullptr, -1, 1},
        {"delete it, then the row before", [](CPlaylistModel& m) { m.RemoveAt(1); m.RemoveAt(0); }, "cd", nullptr, -1, 0},
        {"delete it, then rows after", [](CPlaylistModel& m) { m.RemoveAt(1); m.RemoveAt(2); }, "ac", nullptr, -1, 1},
        {"move rows to another list", [](CPlaylistModel& m) { m.DropRows({2, 0}); }, "bd", "abcd", 0, -1},
        {"rows from another list", [](CPlaylistModel& m) { m.InsertForeignRows(1, 2); }, "a--bcd", "abcd", 3, -1},
        {"a scan inserts before it", [](CPlaylistModel& m) {
             m.Append(Playlist::Path('e'), "E", 0, {});
             m.Append(Playlist::Path('f'), "F", 0, {});
             m.MoveLastRowsTo(2, 1);
         }, "aefbcd", nullptr, 3, -1},
        {"a scan inserts after it", [](CPlaylistModel& m) {
             m.Append(Playlist::Path('e'), "E", 0, {});
             m.MoveLastRowsTo(1, 2);
         }, "abecd", nullptr, 1, -1},
        {"clear", [](CPlaylistModel& m) { m.Clear(); }, "", nullptr, -1, -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Playlist list;
        const PlaylistEntryId playing = list.model.Playing();
        c.edit(list.model);
        EXPECT_EQ(list.Rows(), QString::fromLatin1(c.rows));
        EXPECT_EQ(list.Files(), QString::fromLatin1(c.files ? c.files : c.rows));
        EXPECT_EQ(list.model.PlayingRow(), c.playingRow);
        EXPECT_EQ(list.model.PlayingGoneRow(), c.goneRow);
        if (c.playingRow >= 0) {
            EXPECT_EQ(list.model.Playing(), playing) << "the same entry, not another with its row";
        }
    }
}

TEST(PlaylistModel, TheWatchSetAndTheDuplicateRuleFollowEveryEdit)
{
    Playlist list(QStringLiteral("abc"), 0);
    QSignalSpy listed(&list.model, &CPlaylistModel::pathListed);
    QSignalSpy unlisted(&list.model, &CPlaylistModel::pathUnlisted);

    EXPECT_TRUE(list.model.IsDuplicate(QStringLiteral("b.mp3"))) << "a listed path contains it";
    list.model.RemoveAt(1);
    EXPECT_FALSE(list.model.IsDuplicate(QStringLiteral("b.mp3"))) << "the index forgot the deleted path";
    EXPECT_EQ(unlisted.takeFirst().at(0).toString(), Playlist::Path('b'));

    list.model.Append(Playlist::Path('b'), QStringLiteral("B"), 0, {});
    EXPECT_EQ(listed.takeFirst().at(0).toString(), Playlist::Path('b'));
    list.model.MoveLastRowsTo(1, 0);
    EXPECT_TRUE(list.model.IsDuplicate(Playlist::Path('c'))) << "the index follows the move";

    list.model.DropRows({0});
    EXPECT_EQ(unlisted.takeFirst().at(0).toString(), Playlist::Path('b'));
    list.model.Clear();
    EXPECT_EQ(unlisted.size(), 2);
    EXPECT_TRUE(list.model.ListedPaths().isEmpty());
    EXPECT_FALSE(list.model.IsDuplicate(Playlist::Path('a')));
}

TEST(PlaylistModel, TheArraysKeepTheirClassicRules)
{
    Playlist list(QStringLiteral("abcd"), 0);
    // Renumbering after a drop finds each item's entry by its text.
    list.model.RenumberFromTexts({QStringLiteral("1. C"), QStringLiteral("2. A"), QStringLiteral("3. B"), QStringLiteral("4. D")});
    EXPECT_EQ(list.Files(), QStringLiteral("cabd"));
    EXPECT_EQ(list.titles.Items(), (QVector<QString>{"C", "A", "B", "D"}));
    // A Delete outside the arrays throws before anything changed.
    EXPECT_THROW(list.model.RemoveAt(4), CInvalidArgException);
    EXPECT_EQ(list.model.RowCount(), 4);
    // The partial clear removes every second entry from its index on.
    list.model.ClearFileArrayFrom(1);
    EXPECT_EQ(list.Files(), QStringLiteral("cb"));
}
