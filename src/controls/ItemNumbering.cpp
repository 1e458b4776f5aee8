#include "controls/ItemNumbering.h"

#include <limits>

long long LeadingNumber(QStringView text)
{
    qsizetype i = 0;
    while (i < text.size() && (text[i] == u' ' || (text[i] >= u'\t' && text[i] <= u'\r')))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == u'+' || text[i] == u'-'))
        negative = text[i++] == u'-';
    long long value = 0;
    constexpr long long kMax = std::numeric_limits<long long>::max();
    for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
        const int digit = text[i].unicode() - u'0';
        value = value > (kMax - digit) / 10 ? kMax : value * 10 + digit;
    }
    return negative ? -value : value;
}

QString RenumberedItemText(const QString& text, int nNumber)
{
    const qsizetype dot = text.indexOf(u'.');
    if (dot < 0 || LeadingNumber(QStringView(text).left(dot)) <= 0)
        return text;
    return QString::number(nNumber) + u'.' + text.mid(dot + 1);
}

QString RenumberedAfterDelete(const QString& text, int nNumber)
{
    const qsizetype sep = text.indexOf(QLatin1String(". "));
    const QString rest = sep < 0 ? text : text.mid(sep + 2);
    return QString::number(nNumber) + QLatin1String(". ") + rest.trimmed();
}
