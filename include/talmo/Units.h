#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

namespace Talmo
{

/// Physical units: the table of the known ones, values that carry one, arithmetic expressions over
/// such values, and services on whole texts.
///
/// All state is static, and there is one evaluation at a time: its stacks stay as it left them. The
/// table is filled before main. Afterwards it only changes by look-ups of unknown names, which are
/// remembered in the hash that was asked, as units of kind 0 ("unitless") and factor 0.
///
/// Where an operation takes units, "" means without a unit; value and evaluate also take "-", as
/// they come out, and "*", the standard unit of their kind. Problems are reported by Error::syntax,
/// and the operation carries on. Before main, every operation but compatibleUnits, the default
/// Value and the constructor of Units crashes deliberately (see startupGuard).
class Units
{
public:
    /// A number with a unit, or without one.
    struct Value {
        double value = 0; ///< in `units`
        QString units;    ///< a name of the table, or "" for none; an unknown name is allowed

        Value() = default;

        /// Reads a number with an optional unit directly behind it: "12.5mm", "-3", ".5ns". Any
        /// other \a text is reported and gives 0 without a unit. One too large for a double is
        /// infinite.
        Value(QString text);

        /// The magnitude of this value expressed in \a target. Across kinds it comes back
        /// unconverted, and \a ok says so; without \a ok, that is reported. The value itself stays.
        /// An unknown unit counts as unitless with factor 0, so that it gives 0, infinity or NaN.
        double convert(QString target, bool *ok = nullptr);

        /// The magnitude as printf's \a format prints it in the C locale, followed by the unit if
        /// \a withUnits. The format holds one conversion out of aAeEfFgG, with flags, width and
        /// precision up to 4095, and otherwise plain text; any other is reported and gives "".
        QString to_s(QString format, bool withUnits) const;

        // Arithmetic in place, returning this value. Units are never combined into new ones.

        /// \a other is converted to this value's unit, which the result keeps.
        Value &add(Value other);
        Value &sub(Value other);

        /// The result has the unit of the operand that has one. If both have one, that is reported,
        /// and this value's stays.
        Value &mul(Value other);

        /// If \a other has a unit it is converted to this value's, and the result has none.
        /// Otherwise the result keeps this value's.
        Value &div(Value other);

        /// Flips the sign, that of zero too.
        Value &neg();
    };

    /// A pending operator or function of an evaluation.
    struct Operator {
        QString name;
        int precedence = 0; ///< tells the class of the operator, too

        Operator() = default;
        Operator(QString itsName, int itsPrecedence)
            : name(itsName)
            , precedence(itsPrecedence)
        {
        }
    };

    /// A list that is used from its end. Neither pop nor top may be called on an empty one.
    template <typename T>
    class Stack : public QList<T>
    {
    public:
        T pop() { return this->takeLast(); }
        T &top() { return this->last(); }
    };

    /// Fills the table: done once, by `initializer`.
    Units();

    /// The preferred unit of the kind of \a unit; \a unit itself if its kind has none.
    static QString standardUnit(QString unit);

    /// The number that \a expr comes to, in \a units. Numbers, functions, operators and names of
    /// macros, without blanks; docs/expressions.md is the manual.
    ///
    /// If it is no expression, the result is 0 and \a ok false; without \a ok, that is reported. An
    /// operator or function that cannot be applied is reported, and the evaluation goes on without
    /// it. A result of another kind than \a units comes back unconverted, and \a ok says so;
    /// without \a ok, that is reported. An empty \a expr is 0 and changes neither \a ok nor `val`.
    /// With "*" the result is always what `val` has on top afterwards, even if that was left by a
    /// failure or by the expression before.
    static double value(QString expr, QString units, bool *ok = nullptr);

    /// Applies \a pending to `val`. If that cannot be, it is reported, and what has been taken from
    /// `val` is gone.
    static void doit(Operator pending);

    /// The value of \a expr in \a units as \a format prints it (see Value::to_s); with "-" its unit
    /// follows. It prints what `val` has on top after the evaluation: after an error what that left
    /// there, for an empty \a expr the result before, and 0 if there is none.
    static QString evaluate(QString format, QString expr, QString units);

    /// The unit of the value of \a expr; "" if it has none or is no expression. An expression of
    /// nothing but "$" has the unit of the one before.
    static QString unit(QString expr);

    /// Whether \a text has none of the characters *+/><=!~%^()?:|& in it; a minus sign may be.
    static bool isSimpleNumber(QString text);

    /// Whether \a text is an expression, with or without units; that an operator or function could
    /// not be applied is reported, but does not count.
    static bool isFloat(QString text);

    /// How many \a to one \a from is. Problems are reported as by value: the result is 0 for what
    /// is no unit, but 1 for one of another kind.
    static double factor(QString to, QString from);

    /// \a text with every number that has a unit directly behind it rewritten as the bare number in
    /// \a units, or with "*" in the standard unit of its kind. Numbers of another kind, and of
    /// kinds without a standard unit, stay as they are. A sign is text. An unknown unit counts as
    /// none: with "" or "*" its number becomes 0.
    static QString convertAll(QString text, QString units);

    /// Compares the exponents of the numbers \a a and \a b as if they were units, and reports a
    /// difference in kind; there is none unless the table knows such a unit.
    static void check(QString a, QString b);

    /// \a unit, followed by the other names of its kind in ascending order, remembered unknown ones
    /// included.
    static QStringList compatibleUnits(QString unit);

    /// The table as text: a heading, then a line "KIND: UNIT, UNIT" for each kind, sorted.
    static QString inspect();

    static QHash<QString, int> typeHash;      ///< index of the kind of a unit
    static QHash<QString, double> factorHash; ///< how many reference units of its kind a unit is
    static QHash<QString, QStringList> types; ///< the units of a kind, in the table's order
    static QStringList standardUnits;         ///< preferred units, at most one of a kind

    static QString currentExpression; ///< the expression being evaluated, as given
    static int commaCount;            ///< "," applied since the last ")"
    static Stack<Value> val;          ///< operands
    static Stack<Operator> op;        ///< pending operators

    static Units initializer;
};

} // namespace Talmo
