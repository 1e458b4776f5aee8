#pragma once
// Answers "which is the first string of a list that contains this text?" without scanning the whole
// list: every string that contains a text of at least kGram characters also contains that text's
// first kGram characters, so a hash of all kGram-character pieces narrows the search to a few
// candidates before the exact test. Shorter texts fall back to the ordered scan. The answers are
// exactly those of the scan, so the playlist's substring rules keep their meaning on long lists.
//
// Threading: a plain value; used on the GUI thread with the playlist it indexes.

#include <QHash>
#include <QString>
#include <QVector>

class CSubstringIndex
{
public:
    static constexpr int kGram = 6;

    explicit CSubstringIndex(Qt::CaseSensitivity cs) : m_cs(cs) {}

    void Clear();
    void Append(const QString& text);
    int Size() const { return static_cast<int>(m_texts.size()); }
    // Index of the first string containing `needle`, or -1.
    int FirstContaining(const QString& needle) const;

private:
    QString Key(const QString& text) const { return m_cs == Qt::CaseSensitive ? text : text.toCaseFolded(); }

    Qt::CaseSensitivity m_cs;
    QVector<QString> m_texts;                 // keys, in list order
    QHash<QString, QVector<int>> m_grams;     // piece -> indices holding it, ascending
};
