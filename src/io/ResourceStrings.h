#pragma once
// The strings of one resource file as read, before they meet a workspace: the neutral result of
// the resource-script and XLIFF readers, and what the writers take.

#include "io/IoError.h"
#include "model/StringTables.h"
#include "server/Record.h"

#include <QList>
#include <QString>

#include <optional>

namespace kvedit::io {

// What a text says about itself: its '&' shortcut marker, line breaks, tabs and %1..%9
// placeholders.
struct TextTraits {
    bool allowShortcut = false;
    QString shortcutCharacter;   // the marked character in capitals when it can be one, else empty
    int shortcutMode = 0;        // 1 ("prefixed by '&'") when the text has a marker
    bool multipleLines = false;
    bool allowTab = false;
    QList<int> parameterIds;     // ascending, each once

    int Properties() const;      // TextProperty flags
};

// A '&' marks a shortcut when a letter or digit follows it ("&&" is a literal ampersand, so is
// "Tom & Jerry"); the first marker counts.
TextTraits AnalyseText(const QString &text);

// The status a translation carries in an exchange file.
enum class TranslationState {
    Missing,      // no translation
    OutOfDate,    // made for an older source text
    Unapproved,   // current, not yet approved
    Approved,
};

// The text properties of one entry.
struct TextProperties {
    int properties = 0;          // TextProperty flags
    QString shortcutCharacter;
    int shortcutMode = 0;
    bool operator==(const TextProperties &) const = default;

    static TextProperties FromTraits(const TextTraits &traits);
};

// A translation an exchange file suggests beside the unit's own (XLIFF <alt-trans>): from a
// memory or a machine, for the same English text or a similar one.
struct AlternativeTranslation {
    QString source;              // the English it translates (the unit's own when the file gives none)
    QString target;
    QString origin;              // the tool or memory it came from, as the file names it
    int quality = -1;            // the file's match quality in percent; -1 when it gives none
};

struct ImportedString {
    int id = 0;                  // 0 while a symbolic id has no number yet
    QString symbol;              // "IDS_FILE_OPEN", empty when the file gives none
    QString text;                // the text this file brings for the source being imported
    std::optional<QString> description;   // nullopt: the file says nothing about it
    TextProperties properties;   // as the file states them, else as the text shows them
    bool propertiesGiven = false;   // stated by the file, not only seen in the text
    QList<ParameterDefinition> parameters;
    bool parametersGiven = false;   // with descriptions; else only the placeholders are known

    // Exchange files carry both sides of a translation.
    QString sourceText;          // the English text the translation was made for
    std::optional<QString> target;
    TranslationState state = TranslationState::Missing;
    bool targetApproved = false;   // the approval mark, which an out-of-date translation may keep
    bool approvalKnown = true;     // false: the format has no approval mark; an unchanged translation keeps its own
    TextProperties targetProperties;
    bool targetPropertiesGiven = false;
    QString notTranslated;       // why a unit brings no translation (a reason's name); empty: the default
    QList<AlternativeTranslation> alternatives;   // suggestions the file carries beside the translation

    // Another tool's exchange file: its <file> and unit, inline codes and state, kept so an
    // export gives that tool its units back. Empty for our own files and for scripts.
    server::ExchangeOrigin origin;
    QString written;             // the id as the file writes it ("0", "IDS_OPEN"), for messages

    QString file;                // where it was read
    int line = 0;

    // How messages name the string: as the file wrote it, else by number or symbol.
    QString DisplayId() const;
};

// Why strings of a file are not imported, by kind; readers of further formats add their own.
namespace reason {
inline const QString kUnknownId = QStringLiteral("unknown id");        // the workspace has no such string
inline const QString kNoTarget = QStringLiteral("no target");          // an exchange unit without a translation
inline const QString kStateNew = QStringLiteral("state new");          // a translation marked as not yet made
inline const QString kOutOfRange = QStringLiteral("id out of range");  // above the highest id taken
} // namespace reason

// A string a file holds that is not imported, and why.
struct SkippedString {
    QString reason;
    QString id;                  // as the file writes it
    QString file;
    int line = 0;
};

struct ResourceStrings {
    QString file;
    QList<ImportedString> strings;   // in file order
    QString languageTag;             // BCP 47 tag the file states ("de-DE"); empty when unknown
    QString sourceLanguageTag;       // exchange files: the language of the source texts
    int languageLine = 0;            // where the file states its languages
    QList<Diagnostic> notes;
    QList<SkippedString> skipped;    // left out by the reader itself (ids beyond the range taken)
};

} // namespace kvedit::io
