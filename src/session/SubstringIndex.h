#pragma once
// Answers "which is the first string of a list that contains this text?" without scanning the whole
// list: a string that contains a text of at least kGram characters also contains every kGram-character
// piece of it, so the strings holding the text's rarest piece are the only candidates for the exact
// test (paths share long prefixes, so the first piece alone would often match them all). Shorter
// texts fall back to the ordered scan. The answers are exactly those of the scan, so the playlist's
// substring rules keep their meaning on long lists.
//
// Threading: a plain value; used on the GUI thread with the playlist it indexes.

#include <QHash>
#include <QString>
#include <QVector>
#include <vector>

class CSubstringIndex
{
public:
    static constexpr int kGram = 6;

    explicit CSubstringIndex(Qt::CaseSensitivity cs) : m_cs(cs) {}

    void Clear();
    // Adds one string at the end (the playlist grows one song at a time).
    void Append(const QString& text);
    // Indexes a whole list at once (renumbering rebuilds its indexes after every drop).
    void Build(const QVector<QString>& texts);
    int Size() const { return static_cast<int>(m_texts.size()); }
    // Index of the first string containing `needle`, or -1.
    int FirstContaining(const QString& needle) const;

private:
    QString Key(const QString& text) const { return m_cs == Qt::CaseSensitive ? text : text.toCaseFolded(); }
    static size_t PieceKey(QStringView text, qsizetype at) { return qHash(text.mid(at, kGram)); }

    // Each piece hash heads a chain of (string index, next link) nodes, newest first, with its length.
    // Hash collisions only add candidates, which the exact test then drops.
    struct Chain
    {
        int nLast = -1;
        int nCount = 0;
    };
    struct Node
    {
        int nIndex;
        int nNext;
    };

    Qt::CaseSensitivity m_cs;
    QVector<QString> m_texts;        // keys, in list order
    QHash<size_t, Chain> m_chains;
    std::vector<Node> m_nodes;
};
