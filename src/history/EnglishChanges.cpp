#include "history/EnglishChanges.h"

#include "states/StringStates.h"

#include <QStringList>

namespace kvedit::history {

namespace {

// A text with its shortcut marker taken out: a single '&' before a character marks it, "&&" is
// an ampersand and stays as written, so bare keeps every character the text shows.
struct Markers {
    QString bare;
    int position = -1;   // of the marked character in bare
    int count = 0;
};

Markers ParseMarkers(const QString &text)
{
    Markers m;
    m.bare.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar ch = text.at(i);
        if (ch == u'&' && i + 1 < text.size()) {
            if (text.at(i + 1) == u'&') {
                m.bare += QStringLiteral("&&");
                ++i;
                continue;
            }
            if (m.count++ == 0)
                m.position = static_cast<int>(m.bare.size());
            continue;
        }
        m.bare += ch;
    }
    return m;
}

// '%' belongs to a placeholder ("%1"), which is never mere punctuation.
bool IsPunctuationOrBlank(QChar ch)
{
    return (ch.isPunct() || ch.isSpace()) && ch != u'%';
}

QString WithoutPunctuation(const QString &text)
{
    QString out;
    out.reserve(text.size());
    for (const QChar ch : text)
        if (!IsPunctuationOrBlank(ch))
            out += ch;
    return out;
}

// The run of punctuation and blanks a text ends with ("...", "?", ": ").
QString Ending(const QString &text)
{
    qsizetype start = text.size();
    while (start > 0 && IsPunctuationOrBlank(text.at(start - 1)) && text.at(start - 1) != u'&')
        --start;
    return text.mid(start);
}

bool SameProperties(const EntryValues &a, const EntryValues &b)
{
    return a.properties == b.properties && a.shortcutCharacter == b.shortcutCharacter
           && a.shortcutMode == b.shortcutMode;
}

QString Quoted(const QString &text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

// The translation with the English's new ending in place of the old one, when the English
// changed only its ending and the translation ended as the English did.
std::optional<QString> AdjustEnding(const QString &before, const QString &after, const QString &translation,
                                    QString *note)
{
    const QString from = Ending(before);
    const QString to = Ending(after);
    if (before.chopped(from.size()) != after.chopped(to.size()) || Ending(translation) != from)
        return std::nullopt;
    *note = from.isEmpty() ? QStringLiteral("ending %1 added").arg(Quoted(to))
            : to.isEmpty() ? QStringLiteral("ending %1 removed").arg(Quoted(from))
                           : QStringLiteral("ending %1 for %2").arg(Quoted(to), Quoted(from));
    return translation.chopped(from.size()) + to;
}

// The translation's shortcut marker following the English's: removed with it, or put on the one
// letter of the translation that the English now marks, when the translation marked what the
// English marked before (or, like it, nothing).
std::optional<QString> AdjustMarker(const QString &before, const QString &after, const QString &translation,
                                    QString *note)
{
    const Markers b = ParseMarkers(before);
    const Markers a = ParseMarkers(after);
    const Markers t = ParseMarkers(translation);
    if (b.count > 1 || a.count > 1 || t.count > 1)
        return std::nullopt;
    if (a.count == 0) {
        if (t.count == 0)
            return std::nullopt;
        *note = QStringLiteral("shortcut marker removed");
        return t.bare;
    }
    const bool follows = t.count == 0 ? b.count == 0
                                      : b.count == 1 && t.bare.at(t.position).toCaseFolded()
                                                            == b.bare.at(b.position).toCaseFolded();
    if (!follows)
        return std::nullopt;
    const QChar key = a.bare.at(a.position).toCaseFolded();
    int found = -1;
    for (int i = 0; i < t.bare.size(); ++i) {
        if (t.bare.at(i).toCaseFolded() != key)
            continue;
        if (found >= 0)
            return std::nullopt;   // the letter occurs twice: which one is not for us to say
        found = i;
    }
    if (found < 0)
        return std::nullopt;
    *note = QStringLiteral("shortcut marker put on %1").arg(Quoted(QString(t.bare.at(found))));
    return t.bare.left(found) + QLatin1Char('&') + t.bare.mid(found);
}

} // namespace

ChangeClass Classify(const EntryValues &before, const EntryValues &after)
{
    if (before.text == after.text)
        return SameProperties(before, after) ? ChangeClass::None : ChangeClass::Properties;
    const QString bareBefore = ParseMarkers(before.text).bare;
    const QString bareAfter = ParseMarkers(after.text).bare;
    if (bareBefore == bareAfter)
        return ChangeClass::Shortcut;
    if (WithoutPunctuation(bareBefore) == WithoutPunctuation(bareAfter))
        return ChangeClass::Punctuation;
    return ChangeClass::Text;
}

bool IsTrivial(ChangeClass change)
{
    return change == ChangeClass::Punctuation || change == ChangeClass::Shortcut
           || change == ChangeClass::Properties || change == ChangeClass::None;
}

QString Describe(ChangeClass change)
{
    switch (change) {
    case ChangeClass::Text: return QStringLiteral("text (words changed)");
    case ChangeClass::Punctuation: return QStringLiteral("punctuation or whitespace only");
    case ChangeClass::Shortcut: return QStringLiteral("shortcut marker only");
    case ChangeClass::Properties: return QStringLiteral("properties only");
    case ChangeClass::None: return QStringLiteral("no change but the revision");
    case ChangeClass::Unknown: break;
    }
    return QStringLiteral("not known (no history of the earlier text)");
}

QString Key(ChangeClass change)
{
    switch (change) {
    case ChangeClass::Text: return QStringLiteral("text");
    case ChangeClass::Punctuation: return QStringLiteral("punctuation");
    case ChangeClass::Shortcut: return QStringLiteral("shortcut");
    case ChangeClass::Properties: return QStringLiteral("properties");
    case ChangeClass::None: return QStringLiteral("none");
    case ChangeClass::Unknown: break;
    }
    return QStringLiteral("unknown");
}

std::optional<EnglishChange> ChangeSince(const StringTableSet &tables, StringId id, TableVersion version)
{
    if (StringStates::Compute(tables, id, version).translation != TranslationState::OutOfDate)
        return std::nullopt;
    EnglishChange c;
    c.fromRevision = tables.Revision(id, version);
    c.toRevision = tables.Revision(id, ssEnglishDefault);
    c.after = tables.Values(id, ssEnglishDefault);
    c.before = tables.EnglishAt(id, c.fromRevision);
    c.change = c.before ? Classify(*c.before, c.after) : ChangeClass::Unknown;
    return c;
}

std::optional<CarriedOver> CarryOver(const EnglishChange &change, const EntryValues &translation)
{
    if (!change.before || !IsTrivial(change.change))
        return std::nullopt;
    const EntryValues &before = *change.before;
    const EntryValues &after = change.after;
    CarriedOver out{translation, false, {}};
    QStringList notes;
    QString note;
    std::optional<QString> text;
    if (before.text != after.text && translation.text == before.text) {
        // The translation is the English text itself ("OK"): it takes the change as it is.
        text = after.text;
        note = QStringLiteral("the English change taken over");
    } else if (change.change == ChangeClass::Punctuation) {
        text = AdjustEnding(before.text, after.text, translation.text, &note);
    } else if (change.change == ChangeClass::Shortcut) {
        text = AdjustMarker(before.text, after.text, translation.text, &note);
    }
    if (text && *text != translation.text) {
        out.values.text = *text;
        notes << note;
        // A moved, added or removed marker takes the shortcut character along, as the checks
        // want it; one the program places (no marker) stays.
        const auto marked = [](const QString &t) {
            const Markers m = ParseMarkers(t);
            return m.count == 1 ? QString(m.bare.at(m.position).toUpper()) : QString();
        };
        if (marked(*text) != marked(translation.text))
            out.values.shortcutCharacter = marked(*text);
    }
    // Text properties the translation took from the English follow it; its own choices stay.
    if ((before.properties != after.properties || before.shortcutMode != after.shortcutMode)
        && translation.properties == before.properties && translation.shortcutMode == before.shortcutMode) {
        out.values.properties = after.properties;
        out.values.shortcutMode = after.shortcutMode;
        notes << QStringLiteral("text properties as the English's");
    }
    out.adjusted = !(out.values == translation);
    out.note = notes.isEmpty() ? QStringLiteral("restamped, kept as it was") : notes.join(QStringLiteral("; "));
    return out;
}

int &ClassCounts::operator[](ChangeClass change)
{
    switch (change) {
    case ChangeClass::Text: return text;
    case ChangeClass::Punctuation: return punctuation;
    case ChangeClass::Shortcut: return shortcut;
    case ChangeClass::Properties: return properties;
    case ChangeClass::None: return none;
    case ChangeClass::Unknown: break;
    }
    return unknown;
}

ClassCounts CountChanges(const StringTableSet &tables, TableVersion version, int maximumCount)
{
    ClassCounts counts;
    if (version == ssEnglishDefault)
        return counts;
    for (int id = 1; id <= maximumCount; ++id)
        if (const std::optional<EnglishChange> c = ChangeSince(tables, static_cast<StringId>(id), version))
            ++counts[c->change];
    return counts;
}

} // namespace kvedit::history
