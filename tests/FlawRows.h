#pragma once

#include "LibraryTest.h"
#include "talmo/Flaw.h"

/// A text and its flaw: what and where; nothing for a text without.
struct FlawRow {
    QString text;
    Talmo::Macro::Table macros = {};
    QString what = "";
    int position = 0;
    int length = 0;
};

/// A test of what finds flaws.
class FlawTest : public LibraryTest
{
protected:
    using Find = Talmo::Flaw (*)(const QString &);

    /// Expects what \a find finds in each row, and that this leaves nothing behind.
    static void expect(Find find, const QList<FlawRow> &rows, bool isReported = false)
    {
        const QHash<QString, int> units = Talmo::Units::typeHash;
        for (const FlawRow &row : rows) {
            SCOPED_TRACE(row.text.toStdString());
            Talmo::Macro::hash = row.macros;
            const Talmo::Flaw flaw = find(row.text);
            EXPECT_EQ(flaw.what, row.what);
            EXPECT_EQ(flaw.position, row.position);
            EXPECT_EQ(flaw.length, row.length);
            EXPECT_EQ(flaw.kind == Talmo::Flaw::Kind::None, row.what.isEmpty());
            EXPECT_EQ(flaw.isReported, isReported && !row.what.isEmpty());
            EXPECT_EQ(Talmo::Macro::hash, row.macros);
        }
        EXPECT_EQ(Talmo::Units::typeHash, units);
        EXPECT_EQ(printed(), "");
    }
};
