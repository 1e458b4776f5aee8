#pragma once
// The two numbering rules of the drag list box's item texts ("3. Song").
// Pure functions; any thread.

#include <QString>
#include <QStringView>

#include "tunivox_export.h"

// The number at the start of a text as the C library's atol reads it: leading blanks, an optional
// sign, then digits; 0 when there are none. Saturates instead of overflowing.
TUNIVOX_EXPORT long long LeadingNumber(QStringView text);

// After a reorder: "3. Song" numbered 1 becomes "1. Song". Texts without a dot, or whose part before
// the first dot is not a positive number, are returned unchanged.
TUNIVOX_EXPORT QString RenumberedItemText(const QString& text, int nNumber);

// After the Delete key: everything up to and including the first ". " is cut (the whole text is kept
// when there is none), blanks are trimmed and "%d. " with the new number is put in front.
TUNIVOX_EXPORT QString RenumberedAfterDelete(const QString& text, int nNumber);
