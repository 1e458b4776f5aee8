#include "player/SubstringIndex.h"

void CSubstringIndex::Clear()
{
    m_texts.clear();
    m_grams.clear();
}

void CSubstringIndex::Append(const QString& text)
{
    const int index = static_cast<int>(m_texts.size());
    const QString key = Key(text);
    m_texts.append(key);
    for (qsizetype p = 0; p + kGram <= key.size(); ++p) {
        QVector<int>& list = m_grams[key.mid(p, kGram)];
        if (list.isEmpty() || list.constLast() != index)
            list.append(index);
    }
}

int CSubstringIndex::FirstContaining(const QString& needle) const
{
    const QString key = Key(needle);
    if (key.size() < kGram) {
        for (int i = 0; i < m_texts.size(); ++i)
            if (m_texts[i].contains(key))
                return i;
        return -1;
    }
    const auto it = m_grams.constFind(key.left(kGram));
    if (it == m_grams.constEnd())
        return -1;
    for (int index : it.value())
        if (m_texts[index].contains(key))
            return index;
    return -1;
}
