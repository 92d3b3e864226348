#pragma once
// Quality checks of one string: a translation against its English original (placeholders,
// formats, shortcut markers, lines and tabs, blanks and punctuation, suspicious lengths), or an
// English text alone against its own properties and parameter definitions. The rules live in
// one table (Rules()); a RuleSet says which of them run.
//
// One string costs a single pass over each text and allocates only for the problems it finds,
// so the translate dialog can check as one types. Whole tables, with a cache, are in
// checks/TableChecker.h.

#include "model/StringTables.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <span>

namespace kvedit::checks {

enum class Severity { Warning, Error };

QString SeverityName(Severity severity);   // "error", "warning"

struct Problem {
    QString rule;             // the rule's id ("placeholders")
    Severity severity = Severity::Error;
    QString message;          // what differs ("the translation lacks %2")
    int start = -1;           // the offending characters in the checked text; -1 when not known
    int length = 0;

    bool operator==(const Problem &) const = default;
};
using Problems = QList<Problem>;

// What a rule looks at.
enum class Scope {
    Translation,   // a translation against its English text
    English,       // an English text alone (its properties and parameter definitions)
    Both,
    Table,         // several strings together (shortcut clashes; see TableChecker)
};

struct Context;

struct Rule {
    const char *id;
    Severity severity;
    Scope scope;
    const char *summary;           // one line for listings
    void (*check)(Context &);      // null for the table rules
};

// Every rule, in the order problems are reported.
std::span<const Rule> Rules();
// The rule's index in Rules(), -1 when no rule has the id.
int RuleIndex(QStringView id);
// The rule's id as a shared string.
QString RuleId(const Rule &rule);

// A set of rules by index in Rules().
class RuleSet {
public:
    static RuleSet All();
    static RuleSet None() { return RuleSet(0); }
    // All rules but the ones named; ids no rule has are left out and returned in *unknown.
    static RuleSet AllBut(const QStringList &disabledIds, QStringList *unknown = nullptr);

    bool Contains(int index) const { return index >= 0 && (m_bits >> index) & 1u; }
    bool Contains(QStringView id) const { return Contains(RuleIndex(id)); }
    void Set(int index, bool on);
    bool Set(QStringView id, bool on);        // false when no rule has the id
    QStringList Ids() const;                  // in table order
    QStringList DisabledIds() const;
    bool operator==(const RuleSet &) const = default;

private:
    explicit RuleSet(quint32 bits) : m_bits(bits) {}
    quint32 m_bits;
};

// The values of one string the rules read: its text and the properties that govern it.
struct StringValues {
    QString text;
    bool allowShortcut = false;
    bool multipleLines = false;
    bool allowTab = false;
    QString shortcutCharacter;   // empty for none
    int shortcutMode = 0;        // 1 the text carries a '&' marker; 2..4 the program places it
    QList<int> parameters;       // numbers of the parameter definitions (English alone)
    QString description;         // the label before its first ':' groups shortcuts

    // The entry's values; the parameter definitions only when asked for (they cost a copy).
    static StringValues Of(const StringEntry &entry, bool withParameters = true);
    static StringValues Of(EntryValues values);   // no parameter definitions
};

// A translation against its English original. An empty translation is a missing one, not a
// problem: it gives none.
Problems Check(const StringValues &english, const StringValues &translation, const RuleSet &rules = RuleSet::All());
Problems Check(const StringEntry &english, const StringEntry &translation, const RuleSet &rules = RuleSet::All());
// An English text alone (table version 3, and the pending corrections of version 2).
Problems CheckEnglish(const StringValues &english, const RuleSet &rules = RuleSet::All());
Problems CheckEnglish(const StringEntry &english, const RuleSet &rules = RuleSet::All());

// The character a text's shortcut uses, upper-cased: the one after its single '&' marker, or
// for the modes in which the program places the shortcut, the shortcut character. Null when
// the text has none or an ambiguous one. *position is the marker's (or -1).
QChar ShortcutKey(const StringValues &values, int *position = nullptr);

// The label that groups a string's shortcut with others: the description up to its first
// ':' ("Menu File" for "Menu File: Open"), trimmed; empty when there is none.
QStringView GroupLabel(const QString &description);

// "error [placeholders]: the translation lacks %2"
QString Describe(const Problem &problem);

} // namespace kvedit::checks
