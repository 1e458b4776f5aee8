// The typed settings store and the registry helper on top of it: values keep their types through
// the text file, each CRegistry does one operation, and a damaged file is never overwritten.
#include <QFile>
#include <gtest/gtest.h>

#include "support/TestFolders.h"
#include "visual/CRegistry.h"

using tunivox::test::ScopedUserFolders;

namespace {

constexpr const char* kKey = "Software\\Tunivox\\TunivoxDesk";

QByteArray StoreText()
{
    QFile file(CTypedSettings::DefaultFilePath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TEST(TypedSettingsText, EveryTypeSurvivesFormatAndParse)
{
    QMap<QString, QVariant> map;
    map.insert(QStringLiteral("Software/Tunivox/TunivoxDesk/Count"), QVariant::fromValue(TypedValue::FromDWORD(0xDEADBEEF)));
    map.insert(QStringLiteral("Software/Tunivox/TunivoxDesk/Big"), QVariant::fromValue(TypedValue::FromBigEndianDWORD(42)));
    map.insert(QStringLiteral("Software/Tunivox/TunivoxDesk/MP3PlayerInternal/Font"),
               QVariant::fromValue(TypedValue::FromString(QStringLiteral("Bé \"quoted\" \\ back\nnew line"))));
    // A subgroup sorts between its parent's values; the parent's section must still come once.
    map.insert(QStringLiteral("Software/Tunivox/TunivoxDesk/MP3PlayerInternal/Spectrola/Mode"),
               QVariant::fromValue(TypedValue::FromDWORD(2)));
    map.insert(QStringLiteral("Software/Tunivox/TunivoxDesk/MP3PlayerInternal/WindowTop"),
               QVariant::fromValue(TypedValue::FromDWORD(7)));
    TypedValue binary;
    binary.dwType = REG_BINARY;
    binary.data = QByteArray("\x00\x01\xff", 3);
    map.insert(QStringLiteral("Other/Blob"), QVariant::fromValue(binary));
    TypedValue embeddedZero;
    embeddedZero.dwType = REG_SZ;
    embeddedZero.data = QByteArray("a\0b\0", 4);
    map.insert(QStringLiteral("Other/Zero"), QVariant::fromValue(embeddedZero));

    const QByteArray text = FormatTypedSettingsText(map);
    EXPECT_EQ(text.count("[Software\\Tunivox\\TunivoxDesk\\MP3PlayerInternal]"), 1) << text.constData();
    EXPECT_TRUE(text.contains("\"Count\"=dword:deadbeef")) << text.constData();
    EXPECT_TRUE(text.contains("\"Big\"=dword-be:0000002a")) << text.constData();

    QMap<QString, QVariant> back;
    ASSERT_TRUE(ParseTypedSettingsText(text, back));
    ASSERT_EQ(back.keys(), map.keys());
    for (const QString& key : map.keys())
        EXPECT_EQ(back[key].value<TypedValue>(), map[key].value<TypedValue>()) << qPrintable(key);
}

TEST(TypedSettingsText, MalformedLinesAreRejected)
{
    for (const char* text : {"\"Orphan\"=dword:00000001\n", "[Key]\n\"A\"=dword:123\n", "[Key]\n\"A\"=word:00000001\n",
                             "[Key]\n\"A\"=\"unterminated\n", "[Key]\nA=dword:00000001\n", "[Key\n",
                             "[Key]\n\"A\"=hex(3):1,02\n", "[Key]\n\"A/B\"=dword:00000001\n"}) {
        QMap<QString, QVariant> map;
        EXPECT_FALSE(ParseTypedSettingsText(text, map)) << text;
    }
}

TEST(CRegistryTest, TypedValuesRoundTripThroughTheUserStore)
{
    ScopedUserFolders folders;
    DWORD one = 1;
    EXPECT_TRUE(CRegistry().WriteDWORD(kKey, "InternalIsVisual", &one));
    EXPECT_TRUE(CRegistry().WriteString(kKey, "Name", "Tunivox ü"));
    RegistryValue big;
    big.Allocate(4);
    std::memcpy(big.Data(), "\x00\x00\x01\x02", 4);
    big.SetType(REG_DWORD_BIG_ENDIAN);
    EXPECT_TRUE(CRegistry().Write(kKey, "Big", big));

    RegistryValue value;
    DWORD dw = 0;
    ASSERT_TRUE(CRegistry().Read(kKey, "InternalIsVisual", value));
    EXPECT_EQ(value.Type(), REG_DWORD);
    EXPECT_TRUE(CRegistry::GetDWORD(value, &dw));
    EXPECT_EQ(dw, 1u);

    ASSERT_TRUE(CRegistry().Read(kKey, "Big", value));
    EXPECT_EQ(value.Type(), REG_DWORD_BIG_ENDIAN);
    EXPECT_TRUE(CRegistry::GetDWORD(value, &dw));
    EXPECT_EQ(dw, 0x02010000u) << "the first four bytes as stored";

    ASSERT_TRUE(CRegistry().Read(kKey, "Name", value));
    QString text;
    EXPECT_TRUE(CRegistry::GetString(value, &text));
    EXPECT_EQ(text, QStringLiteral("Tunivox ü"));
    EXPECT_FALSE(CRegistry::GetDWORD(value, &dw)) << "a string is no DWORD";

    const QByteArray file = StoreText();
    EXPECT_TRUE(file.contains("[Software\\Tunivox\\TunivoxDesk]")) << file.constData();
    EXPECT_TRUE(file.contains("\"InternalIsVisual\"=dword:00000001")) << file.constData();
}

TEST(CRegistryTest, OneSuccessfulOperationPerObject)
{
    ScopedUserFolders folders;
    DWORD five = 5;
    RegistryValue value;

    CRegistry writer;
    ASSERT_TRUE(writer.WriteDWORD(kKey, "A", &five));
    EXPECT_FALSE(writer.WriteDWORD(kKey, "B", &five));
    EXPECT_FALSE(writer.Read(kKey, "A", value));

    CRegistry reader;
    ASSERT_TRUE(reader.Read(kKey, "A", value));
    EXPECT_FALSE(reader.Read(kKey, "A", value));

    // Failed reads close nothing that the next operation needs.
    CRegistry missing;
    EXPECT_FALSE(missing.Read("Software\\Nobody", "A", value));
    EXPECT_FALSE(missing.Read(kKey, "NoSuchValue", value));
    EXPECT_TRUE(missing.Read(kKey, "A", value));
}

TEST(CRegistryTest, DamagedStoreIsReportedAndLeftAlone)
{
    ScopedUserFolders folders;
    const QByteArray damaged = "[Software\\Tunivox\\TunivoxDesk]\n\"A\"=dword:zz\n";
    {
        CTypedSettings store;
        QFile file(store.FilePath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(damaged);
    }
    CTypedSettings store;
    EXPECT_FALSE(store.IsUsable());
    EXPECT_TRUE(store.ErrorText().contains(QStringLiteral("damaged")));
    DWORD one = 1;
    RegistryValue value;
    EXPECT_FALSE(CRegistry().WriteDWORD(kKey, "B", &one));
    EXPECT_FALSE(CRegistry().Read(kKey, "A", value));
    EXPECT_EQ(StoreText(), damaged);
}

TEST(CRegistryTest, BadNamesFailWithoutWriting)
{
    ScopedUserFolders folders;
    DWORD one = 1;
    EXPECT_FALSE(CRegistry().WriteDWORD(kKey, "a/b", &one));
    EXPECT_FALSE(CRegistry().WriteDWORD(kKey, "", &one));
    EXPECT_FALSE(CRegistry().WriteDWORD("", "A", &one));
    EXPECT_FALSE(CRegistry().WriteDWORD(kKey, "A", nullptr));
    EXPECT_FALSE(CTypedSettings().HasKey(QString::fromLatin1(kKey)));
}
