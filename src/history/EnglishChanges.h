#pragma once
// What changed in the English since a translation was made, and what may be carried over without
// a translator. A change is graded by what differs between the English text at the translation's
// revision and the English text now: words (text), punctuation or blanks only, the shortcut
// marker only, or the text properties only. The three trivial classes can be carried over: the
// translation is restamped to the new revision, keeping its approval, with its ending punctuation
// or shortcut marker adjusted where the English change says unambiguously how. The translate
// dialog, the editor's Carry Over Trivial Changes and `kvedit stats` all grade here.

#include "model/StringTables.h"

#include <QString>

#include <optional>

namespace kvedit::history {

enum class ChangeClass : quint8 {
    Text,          // words changed
    Punctuation,   // punctuation or whitespace only
    Shortcut,      // the shortcut marker only (added, removed or moved)
    Properties,    // the same text; text properties, shortcut character or mode changed
    None,          // the same text and properties at both revisions
    Unknown,       // the English at the translation's revision is not known
};

// Grades the change from before to after.
ChangeClass Classify(const EntryValues &before, const EntryValues &after);
// Whether a change of this class may be carried over: punctuation, shortcut, properties, none.
bool IsTrivial(ChangeClass change);
// In words, for the dialog and the report ("punctuation or whitespace only").
QString Describe(ChangeClass change);
// A short key for machine-readable output ("punctuation").
QString Key(ChangeClass change);

// An out-of-date translation's English: as it stood at the translation's revision and now.
struct EnglishChange {
    qint16 fromRevision = 0;             // the translation's
    qint16 toRevision = 0;               // the English default's
    std::optional<EntryValues> before;   // unknown when the server keeps no history of it
    EntryValues after;
    ChangeClass change = ChangeClass::Unknown;
};

// What changed since the translation of id in version was made; nullopt unless it is out of date
// (a missing translation has nothing to compare).
std::optional<EnglishChange> ChangeSince(const StringTableSet &tables, StringId id, TableVersion version);

// A translation brought up to a trivial English change.
struct CarriedOver {
    EntryValues values;   // the translation's text and properties to store
    bool adjusted = false;   // the text or a property was changed, not only restamped
    QString note;         // what was done, for the report ("ending \"…\" for \"...\"")
};

// How translation is carried over the change; nullopt when the change is not trivial.
std::optional<CarriedOver> CarryOver(const EnglishChange &change, const EntryValues &translation);

// Out-of-date translations of a table version by the class of their English change.
struct ClassCounts {
    int text = 0;
    int punctuation = 0;
    int shortcut = 0;
    int properties = 0;
    int none = 0;
    int unknown = 0;

    int Total() const { return text + punctuation + shortcut + properties + none + unknown; }
    int &operator[](ChangeClass change);
    bool operator==(const ClassCounts &) const = default;
};
ClassCounts CountChanges(const StringTableSet &tables, TableVersion version, int maximumCount);

} // namespace kvedit::history
