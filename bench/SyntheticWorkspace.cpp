#include "SyntheticWorkspace.h"

#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QFile>

#include <cstdint>

namespace kvedit::bench {

namespace {

// A small, fully specified generator (SplitMix64), so every platform and library builds the
// same workspace from the same seed.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}
    std::uint64_t Next()
    {
        std::uint64_t z = (m_state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    double Unit() { return static_cast<double>(Next() >> 11) / 9007199254740992.0; }
    int Between(int low, int high) { return low + static_cast<int>(Next() % static_cast<std::uint64_t>(high - low + 1)); }
    template <size_t N>
    const char *Pick(const char *const (&words)[N]) { return words[Next() % N]; }

private:
    std::uint64_t m_state;
};

// No word holds a 'q' before a 'z', so UnmatchedSearchText never occurs.
constexpr const char *kEnglish[] = {
    "file", "open", "save", "close", "document", "window", "view", "edit", "insert", "format", "tools", "help",
    "print", "page", "setup", "preview", "export", "import", "settings", "options", "select", "all", "copy",
    "paste", "delete", "undo", "redo", "find", "replace", "next", "previous", "table", "picture", "chart",
    "column", "row", "cell", "sheet", "workbook", "project", "folder", "name", "size", "type", "date",
    "modified", "created", "author", "title", "subject", "keywords", "comments", "version", "language",
    "spelling", "grammar", "dictionary", "style", "font", "paragraph", "border", "shading", "colour", "line",
    "spacing", "indent", "margin", "header", "footer", "section", "break", "field", "update", "link", "object",
    "server", "connection", "network", "printer", "device", "driver", "error", "warning", "message", "cannot",
    "could", "not", "be", "the", "a", "an", "to", "of", "in", "for", "with", "from", "is", "was", "has", "this",
    "that", "your", "changes", "current", "selected", "active", "new", "existing", "available", "required",
    "invalid", "missing", "read-only", "locked", "shared", "temporary", "backup", "recent", "default", "custom",
};

constexpr const char *kGerman[] = {
    "Datei", "öffnen", "speichern", "schließen", "Dokument", "Fenster", "Ansicht", "bearbeiten", "einfügen",
    "Format", "Extras", "Hilfe", "drucken", "Seite", "einrichten", "Vorschau", "exportieren", "importieren",
    "Einstellungen", "Optionen", "auswählen", "alle", "kopieren", "löschen", "rückgängig", "wiederholen",
    "suchen", "ersetzen", "weiter", "zurück", "Tabelle", "Grafik", "Diagramm", "Spalte", "Zeile", "Zelle",
    "Blatt", "Mappe", "Projekt", "Ordner", "Größe", "Typ", "Datum", "geändert", "erstellt", "Autor", "Titel",
    "Betreff", "Stichwörter", "Kommentare", "Version", "Sprache", "Rechtschreibung", "Grammatik",
    "Wörterbuch", "Formatvorlage", "Schriftart", "Absatz", "Rahmen", "Schattierung", "Farbe", "Linie",
    "Abstand", "Einzug", "Rand", "Kopfzeile", "Fußzeile", "Abschnitt", "Umbruch", "Feld", "aktualisieren",
    "Verknüpfung", "Objekt", "Verbindung", "Netzwerk", "Drucker", "Gerät", "Treiber", "Fehler", "Warnung",
    "Meldung", "kann", "nicht", "werden", "der", "die", "das", "ein", "eine", "zu", "von", "im", "für", "mit",
    "aus", "ist", "war", "hat", "dieses", "Ihre", "Änderungen", "aktuelle", "ausgewählte", "neue",
    "vorhandene", "verfügbar", "erforderlich", "ungültig", "fehlt", "schreibgeschützt", "gesperrt",
    "freigegeben", "temporär", "Sicherung", "zuletzt", "Standard", "benutzerdefiniert",
};

enum class Kind { Caption, Prompt, Message, Help, TabList };

QString Capitalised(QString word)
{
    if (!word.isEmpty())
        word[0] = word[0].toUpper();
    return word;
}

template <size_t N>
QString Words(Random &random, const char *const (&vocabulary)[N], int count)
{
    QString out;
    for (int i = 0; i < count; ++i) {
        if (i)
            out += u' ';
        out += QString::fromUtf8(random.Pick(vocabulary));
    }
    return out;
}

template <size_t N>
QString Sentence(Random &random, const char *const (&vocabulary)[N], int words)
{
    return Capitalised(Words(random, vocabulary, words)) + u'.';
}

struct Text {
    QString text;
    quint8 properties = 0;
    int parameters = 0;
    QString shortcutCharacter;
    quint8 shortcutMode = 0;
};

// One string's text in a language. A translation has its source's kind and placeholders and,
// through the stretch, a few more words (German runs longer than English).
template <size_t N>
Text MakeText(Random &random, const char *const (&vocabulary)[N], Kind kind, double stretch, int parameters)
{
    Text t;
    const auto n = [&](int low, int high) { return qMax(1, static_cast<int>(random.Between(low, high) * stretch)); };
    switch (kind) {
    case Kind::Caption: {
        QString caption = Capitalised(Words(random, vocabulary, random.Between(1, 3)));
        qsizetype marker = qMin<qsizetype>(random.Between(0, 2), caption.size() - 1);
        if (!caption.at(marker).isLetter())
            marker = 0;   // a marker goes on a letter, never on the blank after a short word
        caption.insert(marker, u'&');
        if (random.Unit() < 0.3)
            caption += QStringLiteral("...");
        t.text = caption;
        t.properties = kvedit::tpAllowShortcut;
        // As a resource script's import sets them: placed by the marker, and the character
        // named where it is a plain letter or digit.
        const QChar marked = caption.at(marker + 1).toUpper();
        if ((marked >= u'A' && marked <= u'Z') || (marked >= u'0' && marked <= u'9'))
            t.shortcutCharacter = QString(marked);
        t.shortcutMode = 1;
        break;
    }
    case Kind::Prompt:
        t.text = Sentence(random, vocabulary, n(4, 12));
        break;
    case Kind::Message: {
        QString message = Sentence(random, vocabulary, n(6, 18));
        for (int p = 1; p <= parameters; ++p)
            message += QStringLiteral(" %") + QString::number(p);
        if (random.Unit() < 0.6)
            message += u' ' + Sentence(random, vocabulary, n(4, 14));
        t.text = message;
        t.parameters = parameters;
        break;
    }
    case Kind::Help: {
        // Several lines, a few hundred characters; some files keep CR LF line ends.
        const QString lineEnd = random.Unit() < 0.3 ? QStringLiteral("\r\n") : QStringLiteral("\n");
        QString help = Sentence(random, vocabulary, n(8, 16));
        const int lines = random.Between(2, 4);
        for (int i = 1; i < lines && help.size() < 320; ++i)
            help += lineEnd + Sentence(random, vocabulary, n(6, 14));
        t.text = help;
        t.properties = kvedit::tpMultipleLines;
        break;
    }
    case Kind::TabList: {
        QString list;
        const int fields = random.Between(2, 4);
        for (int i = 0; i < fields; ++i)
            list += (i ? QStringLiteral("\t") : QString()) + Capitalised(QString::fromUtf8(random.Pick(vocabulary)));
        t.text = list;
        t.properties = kvedit::tpAllowTab;
        break;
    }
    }
    return t;
}

const char *KindSymbol(Kind kind)
{
    switch (kind) {
    case Kind::Caption: return "IDS_CMD_";
    case Kind::Prompt: return "IDS_PROMPT_";
    case Kind::Message: return "IDS_MSG_";
    case Kind::Help: return "IDS_HELP_";
    case Kind::TabList: return "IDS_LIST_";
    }
    return "IDS_";
}

} // namespace

int SyntheticId(int index, int strings)
{
    return 1 + static_cast<int>((static_cast<qint64>(index) * kMaxStringId) / strings);
}

QString UnmatchedSearchText()
{
    return QStringLiteral("qzxv wkjq");
}

WorkspaceCounts CreateSyntheticWorkspace(const QString &path, int strings, TranslationState state)
{
    using server::Record;
    strings = qBound(1, strings, kMaxStringId);
    // A -wal left by an earlier file of that name must not be read into the new one.
    for (const char *suffix : {"", "-wal", "-shm"})
        QFile::remove(path + QLatin1String(suffix));
    server::WorkspaceInfo info;
    info.name = QStringLiteral("Synthetic %1").arg(strings);
    info.targetLanguage = QStringLiteral("de-DE");
    info.maximumCount = kMaxStringId;
    const server::WorkspacePtr workspace = server::Workspace::Create(path, info);
    const std::shared_ptr<server::TableSet> set = workspace->Set();

    const bool finished = state == TranslationState::Finished;
    Random random(0x6B7665646974ull ^ static_cast<std::uint64_t>(strings));
    WorkspaceCounts counts;
    qint64 totalLength = 0;

    for (int index = 0; index < strings; ++index) {
        const auto id = static_cast<StringId>(SyntheticId(index, strings));
        const double k = random.Unit();
        const Kind kind = k < 0.35 ? Kind::Caption : k < 0.65 ? Kind::Prompt : k < 0.85 ? Kind::Message : k < 0.95 ? Kind::Help : Kind::TabList;
        const int parameters = kind == Kind::Message ? (random.Unit() < 0.5 ? random.Between(1, 2) : 0) : 0;

        // The English source.
        Random shape(random.Next());
        Random englishWords(shape.Next());
        Text english = MakeText(englishWords, kEnglish, kind, 1.0, parameters);
        Record source;
        source.text = english.text;
        source.hasText = true;
        source.properties = english.properties;
        source.shortcutCharacter = english.shortcutCharacter;
        source.shortcutMode = english.shortcutMode;
        if (english.properties & tpAllowShortcut && random.Unit() < 0.2) {
            source.shortcutCharacter = QString(QChar(u'A' + random.Between(0, 25)));
            source.shortcutMode = static_cast<quint8>(random.Between(1, 4));
        }
        if (random.Unit() < 0.5)
            source.description = Capitalised(Words(random, kEnglish, random.Between(3, 8)));
        const double r = random.Unit();
        source.revision = r < 0.80 ? 1 : r < 0.95 ? 2 : 3;
        source.status = sfApproved;
        set->PutRecord(id, ssEnglishDefault, source);
        set->setSymbol(id, QString::fromLatin1(KindSymbol(kind)) + QString::number(id));
        if (english.parameters > 0) {
            server::ParameterList list;
            for (int p = 1; p <= english.parameters; ++p)
                list.append(ParameterDefinition(p, Capitalised(Words(random, kEnglish, random.Between(2, 5))),
                                                QStringLiteral("%") + QString::number(p)));
            set->setParameters(id, list);
            ++counts.withParameters;
        }
        ++counts.strings;
        ++counts.records;
        totalLength += english.text.size();
        counts.longest = qMax(counts.longest, static_cast<int>(english.text.size()));
        if (kind == Kind::Help)
            ++counts.multiLine;

        const auto translation = [&](double stretch) {
            Random germanWords(shape.Next());
            Record t;
            const Text german = MakeText(germanWords, kGerman, kind, stretch, parameters);
            t.text = german.text;
            t.hasText = true;
            t.properties = german.properties;
            t.description = source.description;
            // A translation marks its own character; one whose English has its shortcut set by
            // hand keeps that setting.
            const bool byHand = source.shortcutCharacter != english.shortcutCharacter
                                || source.shortcutMode != english.shortcutMode;
            t.shortcutCharacter = byHand ? QString(source.shortcutCharacter) : german.shortcutCharacter;
            t.shortcutMode = byHand ? source.shortcutMode : german.shortcutMode;
            t.revision = source.revision;
            t.status = sfApproved;
            return t;
        };

        // The local default: the translation as delivered. A missing one has no record, or an
        // empty one where the translator's file listed the string without a text.
        std::optional<Record> localDefault;
        const double u = random.Unit();
        if (finished || u >= 0.06) {
            Record t = translation(1.15);
            if (!finished && u < 0.12)
                t.revision = static_cast<qint16>(source.revision - 1);   // out of date
            else if (!finished && u < 0.17)
                t.status = 0;                                             // not approved
            localDefault = t;
        } else if (u >= 0.04) {
            Record empty;
            empty.description = source.description;
            localDefault = empty;
        }
        if (localDefault) {
            set->PutRecord(id, ssLocalDefault, *localDefault);
            ++counts.records;
        }

        // Local edits over the default, and English corrections waiting to be confirmed.
        std::optional<Record> localEdit;
        if (localDefault && localDefault->hasText && random.Unit() < 0.04) {
            Record t = translation(1.2);
            if (!finished && random.Unit() < 0.2)
                t.status = 0;
            localEdit = t;
            set->PutRecord(id, ssLocalEdited, t);
            ++counts.records;
            ++counts.localEdits;
        }
        if (!finished && random.Unit() < 0.015) {
            Record corrected = source;
            corrected.text = english.text + QStringLiteral(" ") + Words(random, kEnglish, random.Between(1, 3));
            set->PutRecord(id, ssEnglishEdited, corrected);
            ++counts.records;
            ++counts.englishEdits;
        }

        // What the checks of table version 0 see: the local edit, else the default.
        const std::optional<Record> &shown = localEdit ? localEdit : localDefault;
        const bool missing = !shown || !shown->hasText;
        const bool outOfDate = missing || shown->revision < source.revision;
        const bool unapproved = outOfDate || !(shown->status & sfApproved);
        counts.missing += missing;
        counts.outOfDate += outOfDate;
        counts.unapproved += unapproved;
    }
    set->Save(ssEnglishDefault, false);
    counts.averageLength = counts.strings ? double(totalLength) / counts.strings : 0;
    return counts;
}

} // namespace kvedit::bench
