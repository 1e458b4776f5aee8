#include "session/SubstringIndex.h"

#include <algorithm>

void CSubstringIndex::Clear()
{
    m_texts.clear();
    m_chains.clear();
    m_nodes.clear();
}

void CSubstringIndex::Append(const QString& text)
{
    const int index = static_cast<int>(m_texts.size());
    m_texts.append(Key(text));
    const QStringView key = m_texts.constLast();
    for (qsizetype p = 0; p + kGram <= key.size(); ++p) {
        Chain& chain = m_chains[PieceKey(key, p)];
        if (chain.nLast >= 0 && m_nodes[static_cast<size_t>(chain.nLast)].nIndex == index)
            continue;   // the piece occurs twice in this string
        m_nodes.push_back({index, chain.nLast});
        chain.nLast = static_cast<int>(m_nodes.size() - 1);
        ++chain.nCount;
    }
}

void CSubstringIndex::Build(const QVector<QString>& texts)
{
    Clear();
    m_texts.reserve(texts.size());
    size_t pieces = 0;
    for (const QString& text : texts)
        pieces += static_cast<size_t>(std::max<qsizetype>(0, text.size() - kGram + 1));
    m_nodes.reserve(pieces);
    m_chains.reserve(static_cast<qsizetype>(pieces / 2));
    for (const QString& text : texts)
        Append(text);
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
    const Chain* rarest = nullptr;
    for (qsizetype p = 0; p + kGram <= key.size(); ++p) {
        const auto it = m_chains.constFind(PieceKey(key, p));
        if (it == m_chains.constEnd())
            return -1;   // no string holds this piece, so none holds the text
        if (!rarest || it->nCount < rarest->nCount)
            rarest = &it.value();
    }
    // The chain runs newest first: the last match found is the first string in list order.
    int first = -1;
    for (int n = rarest->nLast; n >= 0; n = m_nodes[static_cast<size_t>(n)].nNext) {
        const int index = m_nodes[static_cast<size_t>(n)].nIndex;
        if (m_texts[index].contains(key))
            first = index;
    }
    return first;
}
