#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

namespace Talmo
{

/// Physical units: the table of known units, values with a unit, arithmetic expressions over such
/// values, and services on whole texts.
///
/// All state is static, so there is one evaluation at a time, and its stacks stay as it left them.
/// The table is filled before main. Afterwards it changes only when an unknown name is looked up:
/// the hash that was asked remembers the name, as a unit of kind 0 ("unitless") and factor 0.
///
/// Where an operation takes units, "" means without a unit. value and evaluate also take "-", which
/// leaves the result in its own unit, and "*", which means the standard unit of its kind. Problems
/// are reported by Error::syntax, and the operation carries on. Before main, every operation
/// crashes deliberately (see startupGuard), except compatibleUnits, the default Value and the
/// constructor of Units.
class Units
{
public:
    /// A number with a unit, or without one.
    struct Value {
        double value = 0; ///< in `units`
        QString units;    ///< a name of the table, or "" for none; an unknown name is allowed

        Value() = default;

        /// Reads a number with an optional unit directly behind it: "12.5mm", "-3", ".5ns". Any
        /// other \a text is reported and gives 0 without a unit. A number that is too large for a
        /// double becomes infinite.
        Value(QString text);

        /// The magnitude of this value in \a target; the value itself does not change. If the kinds
        /// differ, the magnitude is returned unconverted and \a ok becomes false; without \a ok,
        /// that is reported. An unknown unit counts as unitless with factor 0, so the result is 0,
        /// infinity or NaN.
        double convert(QString target, bool *ok = nullptr);

        /// The magnitude as printf prints it with \a format in the C locale, followed by the unit
        /// if \a withUnits. The format holds one conversion out of aAeEfFgG, with flags, width and
        /// precision up to 4095, and otherwise plain text. Any other format is reported and gives
        /// "".
        QString to_s(QString format, bool withUnits) const;

        // Arithmetic in place, returning this value. Units are never combined into new ones.

        /// \a other is converted to this value's unit, which the result keeps.
        Value &add(Value other);
        Value &sub(Value other);

        /// The result has the unit of the operand that has one. If both have one, that is reported,
        /// and the result keeps this value's unit.
        Value &mul(Value other);

        /// If \a other has a unit, it is converted to this value's unit, and the result has none.
        /// Otherwise the result keeps this value's unit.
        Value &div(Value other);

        /// Changes the sign, also that of zero.
        Value &neg();
    };

    /// A pending operator or function of an evaluation.
    struct Operator {
        QString name;
        int precedence = 0; ///< also tells the class of the operator
        int token = 0;      ///< which token of the expression it is, from 1; 0 if that is not known

        Operator() = default;
        Operator(QString itsName, int itsPrecedence, int itsToken = 0)
            : name(itsName)
            , precedence(itsPrecedence)
            , token(itsToken)
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

    /// Fills the table. This is done once, by `initializer`.
    Units();

    /// The preferred unit of the kind of \a unit; \a unit itself if its kind has none.
    static QString standardUnit(QString unit);

    /// The value of \a expr, as a number in \a units. An expression consists of numbers, functions,
    /// operators and names of macros, without blanks; docs/expressions.md is the manual.
    ///
    /// If \a expr is no expression, the result is 0 and \a ok becomes false; without \a ok, that is
    /// reported. An operator or function that cannot be applied is reported, and the evaluation
    /// goes on without it. If the value is of another kind than \a units, it is returned
    /// unconverted and \a ok becomes false; without \a ok, that is reported. An empty \a expr gives
    /// 0 and changes neither \a ok nor `val`. With "*" the result is always what is on top of `val`
    /// afterwards, even if a failure or the expression before has left it there.
    static double value(QString expr, QString units, bool *ok = nullptr);

    /// Applies \a pending to the operands in `val`. If that is not possible, it is reported, and
    /// the operands that were taken from `val` are lost.
    static void doit(Operator pending);

    /// The value of \a expr in \a units as \a format prints it (see Value::to_s); with "-" its unit
    /// follows. What is printed is on top of `val` after the evaluation: after an error, what the
    /// error left there; for an empty \a expr, the result before. If `val` is empty, 0 is printed.
    static QString evaluate(QString format, QString expr, QString units);

    /// The unit of the value of \a expr; "" if it has none or is no expression. If \a expr consists
    /// only of "$", the unit is that of the expression before.
    static QString unit(QString expr);

    /// Whether \a text holds none of the characters *+/><=!~%^()?:|&. It may hold a minus sign.
    static bool isSimpleNumber(QString text);

    /// Whether \a text is an expression, with or without units. It also is one if an operator or
    /// function cannot be applied; that is reported.
    static bool isFloat(QString text);

    /// How many units \a to make one unit \a from. Problems are reported as value does: the result
    /// is 0 if \a from is no unit, but 1 if it is a unit of another kind.
    static double factor(QString to, QString from);

    /// Returns \a text with every number that has a unit directly behind it rewritten as the bare
    /// number in \a units, or, with "*", in the standard unit of its kind. Numbers of another kind
    /// stay as they are, and with "*" also those whose kind has no standard unit. A sign counts as
    /// text. An unknown unit counts as unitless: with "" or "*" its number becomes 0.
    static QString convertAll(QString text, QString units);

    /// Compares the exponents of the numbers \a a and \a b as if they were units, and reports if
    /// their kinds differ. They differ only if the table knows one of them as a unit.
    static void check(QString a, QString b);

    /// \a unit, followed by the other names of its kind in ascending order. Unknown names that the
    /// table remembers are included.
    static QStringList compatibleUnits(QString unit);

    /// The table as text: a heading, then a line "KIND: UNIT, UNIT" for each kind, sorted.
    static QString inspect();

    static QHash<QString, int> typeHash;      ///< index of the kind of a unit
    static QHash<QString, double> factorHash; ///< how many reference units of its kind a unit is
    static QHash<QString, QStringList> types; ///< the units of a kind, in the table's order
    static QStringList standardUnits;         ///< preferred units, at most one of a kind

    static QString currentExpression; ///< the expression being evaluated, as given
    static int commaCount;            ///< how many "," were applied since the last ")"
    static Stack<Value> val;          ///< operands
    static Stack<Operator> op;        ///< pending operators

    static Units initializer;
};

} // namespace Talmo
