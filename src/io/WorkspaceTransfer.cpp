#include "io/WorkspaceTransfer.h"

#include "io/ExchangeRules.h"
#include "io/LanguageIds.h"
#include "io/Po.h"
#include "io/RcWriter.h"
#include "io/Ts.h"
#include "io/Xliff.h"
#include "server/Entry.h"
#include "server/TableSet.h"
#include "states/StringStates.h"

#include "model/StandardLocale.h"

#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>

namespace kvedit::io {

using server::ParameterList;

namespace {

constexpr int kProgressStep = 200;

void Report(const Progress &progress, int done, int total)
{
    if (progress && (done == total || done % kProgressStep == 0))
        progress(done, total);
}

// The same language, and where both name a region the same region ("de" fits "de-DE", "pt-PT"
// does not fit "pt-BR").
bool SameLanguage(const QString &a, const QString &b)
{
    return SameLanguageTag(a, b);
}

// "Japanese (ja-JP)"
QString LanguageName(const QString &tag)
{
    const QString name = LanguageForTag(tag).Name();
    return name.isEmpty() || name == tag ? tag : QStringLiteral("%1 (%2)").arg(name, tag);
}

QString OriginKey(const QString &original, const QString &unit)
{
    return original + QChar(0x1F) + unit;
}

// The definitions a text's placeholders call for, keeping the descriptions the workspace has.
ParameterList MergedParameters(const ParameterList &fromFile, const ParameterList &existing)
{
    ParameterList out;
    for (const ParameterDefinition &d : fromFile) {
        QString description = d.Description();
        for (const ParameterDefinition &e : existing)
            if (e.Id() == d.Id() && description.isEmpty())
                description = e.Description();
        out.append(ParameterDefinition(d.Id(), description, d.Placeholder()));
    }
    return out;
}

class Importer {
public:
    Importer(server::Workspace &workspace, ImportSummary &summary, StringSource translations = ssLocalDefault)
        : m_ws(workspace), m_set(*workspace.Set()), m_server(*workspace.TextServer()), m_summary(summary),
          m_translations(translations)
    {
        // The set looks symbols up one by one; a file names thousands of them.
        for (int i = 1; i <= m_set.MaximumCount(); ++i) {
            const QString symbol = m_set.Symbol(static_cast<StringId>(i));
            if (!symbol.isEmpty())
                m_idOfSymbol.insert(symbol, static_cast<StringId>(i));
        }
        const QHash<StringId, server::ExchangeOrigin> &origins = m_set.Origins();
        for (auto it = origins.cbegin(); it != origins.cend(); ++it)
            m_idOfOrigin.insert(OriginKey(it->original, it->unit), it.key());
    }

    // The strings themselves: texts, properties, descriptions, parameters and symbols.
    void ImportEnglish(const QList<ImportedString> &strings, bool fromXliff, const Progress &progress)
    {
        const QList<ImportedString> numbered = NumberSymbolicIds(strings);
        int done = 0;
        for (const ImportedString &s : numbered) {
            const StringId id = static_cast<StringId>(s.id);
            const std::optional<server::Record> before = m_set.RecordOf(id, ssEnglishDefault);
            const StringEntryPtr entry = before ? m_set.Entry(id, ssEnglishDefault)
                                                : m_server.CreateEntry(m_ws.Tables(), id, ssEnglishDefault);
            const QString text = fromXliff ? s.sourceText : s.text;
            const bool sameText = before && before->hasText && before->text == text;
            const TextProperties properties = KeptProperties(s.properties, s.propertiesGiven, before, sameText);
            const ParameterList parameters =
                s.parametersGiven ? s.parameters : MergedParameters(s.parameters, m_set.Parameters(id));
            auto definitions = std::make_shared<server::ParameterCollection>(parameters);
            const StringEntryPtr edited = entry->CreateEdited(
                id, text, s.description.value_or(before ? before->description : QString()),
                properties.properties & tpMultipleLines, properties.properties & tpAllowTab,
                properties.properties & tpAllowShortcut, properties.shortcutCharacter, properties.shortcutMode,
                definitions, entry->Status(sfApproved));
            m_set.StoreEntry(edited);
            if (!s.symbol.isEmpty())
                AssignSymbol(id, s.symbol, s);
            if (!s.origin.unit.isEmpty()) {
                server::ExchangeOrigin origin = m_set.Origin(id);
                if (origin.original != s.origin.original || origin.unit != s.origin.unit)
                    origin = server::ExchangeOrigin{s.origin.original, s.origin.unit, {}, {}, {}, {}};
                origin.sourceMarkup = s.origin.sourceMarkup;
                SetOrigin(id, origin);
            }
            Count(before, id, ssEnglishDefault);
            Report(progress, ++done, static_cast<int>(numbered.size()));
        }
    }

    // Translations of a resource script: current against today's English text; an unchanged text
    // keeps its approval.
    void ImportScriptTranslations(const QList<ImportedString> &strings, const Progress &progress)
    {
        int done = 0;
        for (const ImportedString &s : strings) {
            Report(progress, ++done, static_cast<int>(strings.size()));
            const std::optional<StringId> id = KnownId(s);
            if (!id)
                continue;
            if (!s.symbol.isEmpty() && !m_set.Symbol(*id).isEmpty() && m_set.Symbol(*id) != s.symbol)
                Note(s, QStringLiteral("id %1 is %2 here but %3 in the workspace").arg(*id).arg(s.symbol,
                                                                                             m_set.Symbol(*id)));
            StoreTranslation(*id, s.text, s.properties, s.propertiesGiven, std::nullopt, false);
        }
    }

    // Translations of an exchange file, with the status each one carries.
    void ImportXliffTranslations(const QList<ImportedString> &strings, const Progress &progress)
    {
        int done = 0;
        for (const ImportedString &s : strings) {
            Report(progress, ++done, static_cast<int>(strings.size()));
            ImportXliffTranslation(s);
        }
    }

    // One unit at a time, as a file streams in.
    void ImportXliffTranslation(const ImportedString &s)
    {
        const std::optional<StringId> id = KnownId(s);
        if (!id)
            return;
        if (m_translated.contains(*id))
            throw FileError(s.file, s.line, QStringLiteral("the string %1 is translated twice (first on line %2)")
                                                .arg(s.DisplayId())
                                                .arg(m_translated.value(*id)));
        m_translated.insert(*id, s.line);
        for (const AlternativeTranslation &a : s.alternatives)
            m_summary.alternatives.append({*id, a.source, a.target, a.origin, a.quality});
        if (s.state == TranslationState::Missing || !s.target) {
            m_summary.AddNotImported(s.notTranslated.isEmpty() ? reason::kNoTarget : s.notTranslated, s.DisplayId());
            KeepTargetOrigin(*id, s);   // its state and draft go back as they came
            return;
        }
        bool outOfDate = s.state == TranslationState::OutOfDate;
        const QString english = m_set.Text(*id, ssEnglishDefault);
        if (!s.sourceText.isEmpty() && s.sourceText != english) {
            Note(s, QStringLiteral("the translation of %1 was made for another English text; it is marked out "
                                   "of date")
                        .arg(*id));
            outOfDate = true;
        }
        StoreTranslation(*id, *s.target, s.targetProperties, s.targetPropertiesGiven,
                         s.approvalKnown ? std::optional<bool>(s.targetApproved || s.state == TranslationState::Approved)
                                         : std::nullopt,
                         outOfDate);
        KeepTargetOrigin(*id, s);
    }

private:
    void Note(const ImportedString &s, const QString &message)
    {
        m_summary.notes.append({Diagnostic::Note, s.file, s.line, message});
    }

    // The unit's codes and state, to give them back on export.
    void KeepTargetOrigin(StringId id, const ImportedString &s)
    {
        if (s.origin.unit.isEmpty())
            return;
        server::ExchangeOrigin origin = m_set.Origin(id);
        if (origin.unit.isEmpty())
            origin = server::ExchangeOrigin{s.origin.original, s.origin.unit, s.origin.sourceMarkup, {}, {}, {}};
        origin.targetMarkup = s.origin.targetMarkup;
        origin.targetState = s.origin.targetState;
        origin.stateQualifier = s.origin.stateQualifier;
        SetOrigin(id, origin);
    }

    void SetOrigin(StringId id, const server::ExchangeOrigin &origin)
    {
        m_set.setOrigin(id, origin);
        m_idOfOrigin.insert(OriginKey(origin.original, origin.unit), id);
    }

    void Count(const std::optional<server::Record> &before, StringId id, StringSource source)
    {
        const std::optional<server::Record> after = m_set.RecordOf(id, source);
        if (!before)
            ++m_summary.added;
        else if (*before == after)
            ++m_summary.unchanged;
        else
            ++m_summary.changed;
    }

    static TextProperties KeptProperties(const TextProperties &fromFile, bool given,
                                         const std::optional<server::Record> &before, bool sameText)
    {
        // Properties the file only implies by its text do not overrule the ones a text kept.
        if (given || !before || !sameText)
            return fromFile;
        return TextProperties{before->properties, before->shortcutCharacter, before->shortcutMode};
    }

    // The workspace's id for a translation, by number or by symbol; nullopt (reported) when the
    // workspace does not have that string.
    std::optional<StringId> KnownId(const ImportedString &s)
    {
        StringId id = 0;
        if (!s.origin.unit.isEmpty())
            id = m_idOfOrigin.value(OriginKey(s.origin.original, s.origin.unit));
        if (id == 0 && s.id > 0 && s.id <= m_set.MaximumCount())
            id = static_cast<StringId>(s.id);
        else if (id == 0 && s.id == 0 && !s.symbol.isEmpty())
            id = m_idOfSymbol.value(s.symbol);
        if (id == 0 || !m_set.IdInUse(id, ssEnglishDefault)) {
            m_summary.AddNotImported(reason::kUnknownId, s.DisplayId());
            return std::nullopt;
        }
        return id;
    }

    void StoreTranslation(StringId id, const QString &text, const TextProperties &fileProperties, bool given,
                          std::optional<bool> approved, bool outOfDate)
    {
        const std::optional<server::Record> before = m_set.RecordOf(id, m_translations);
        const StringEntryPtr entry = before ? m_set.Entry(id, m_translations)
                                            : m_server.CreateEntry(m_ws.Tables(), id, m_translations);
        const bool sameText = before && before->hasText && before->text == text;
        const TextProperties p = KeptProperties(fileProperties, given, before, sameText);
        const bool valid = approved.value_or(sameText && (before->status & sfApproved));
        const StringEntryPtr edited = entry->CreateEdited(
            id, text, before ? before->description : QString(), p.properties & tpMultipleLines,
            p.properties & tpAllowTab, p.properties & tpAllowShortcut, p.shortcutCharacter, p.shortcutMode,
            entry->ParameterDefinitions(), valid);
        m_set.StoreEntry(edited);
        if (outOfDate) {
            // Storing confirms a translation against today's English text; this one is older.
            std::optional<server::Record> record = m_set.RecordOf(id, m_translations);
            const qint16 english = m_set.Revision(id, ssEnglishDefault);
            if (record && english > 0) {
                record->revision = static_cast<qint16>(english - 1);
                m_set.PutRecord(id, m_translations, record);
            }
        }
        Count(before, id, m_translations);
    }

    void AssignSymbol(StringId id, const QString &symbol, const ImportedString &s)
    {
        const StringId holder = m_idOfSymbol.value(symbol);
        if (holder != 0 && holder != id) {
            Note(s, QStringLiteral("%1 moves from id %2 to id %3").arg(symbol).arg(holder).arg(id));
            m_set.setSymbol(holder, QString());
        }
        const QString previous = m_set.Symbol(id);
        if (!previous.isEmpty() && previous != symbol)
            m_idOfSymbol.remove(previous);
        m_set.setSymbol(id, symbol);
        m_idOfSymbol.insert(symbol, id);
    }

    // Exchange files may name strings by symbol only: a symbol the workspace knows keeps its id,
    // a new one takes the next free number.
    QList<ImportedString> NumberSymbolicIds(const QList<ImportedString> &strings)
    {
        const int maximum = m_set.MaximumCount();
        QSet<int> used;
        int highest = 0;
        for (int id = 1; id <= maximum; ++id)
            if (m_set.IdInUse(static_cast<StringId>(id), ssEnglishDefault)) {
                used.insert(id);
                highest = id;
            }
        for (const ImportedString &s : strings)
            if (s.id > 0) {
                used.insert(s.id);
                highest = std::max(highest, s.id);
            }
        QList<ImportedString> out;
        QHash<int, int> lines;
        int next = highest;
        for (ImportedString s : strings) {
            if (s.id == 0 && !s.origin.unit.isEmpty())
                s.id = m_idOfOrigin.value(OriginKey(s.origin.original, s.origin.unit));
            if (s.id == 0) {
                s.id = s.symbol.isEmpty() ? 0 : m_idOfSymbol.value(s.symbol);
                if (s.id == 0) {
                    do {
                        ++next;
                    } while (next <= maximum && used.contains(next));
                    if (next > maximum) {
                        next = 0;
                        do {
                            ++next;
                        } while (next <= maximum && used.contains(next));
                    }
                    if (next > maximum)
                        throw FileError(s.file, s.line, QStringLiteral("no free string id is left for %1").arg(s.DisplayId()));
                    s.id = next;
                    used.insert(next);
                }
            }
            if (s.id < 1 || s.id > maximum)
                throw FileError(s.file, s.line, QStringLiteral("the string id %1 is outside 1 to %2").arg(s.id).arg(maximum));
            if (lines.contains(s.id))
                throw FileError(s.file, s.line,
                                QStringLiteral("the string id %1 comes twice (first on line %2)").arg(s.id).arg(lines.value(s.id)));
            lines.insert(s.id, s.line);
            out.append(s);
        }
        return out;
    }

    server::Workspace &m_ws;
    server::TableSet &m_set;
    TextServer &m_server;
    ImportSummary &m_summary;
    StringSource m_translations;
    QHash<QString, StringId> m_idOfSymbol;
    QHash<QString, StringId> m_idOfOrigin;   // another tool's <file> and unit id
    QHash<StringId, int> m_translated;       // ids translated by this file, and the line
};

QString SourceTitle(server::Workspace &workspace, TableVersion table)
{
    const Language language = workspace.Tables()->SourceLanguage(table);
    const bool edited = table == ssLocalEdited || table == ssEnglishEdited;
    QString name = workspace.Name();
    if (name.isEmpty())
        name = QFileInfo(workspace.FilePath()).completeBaseName();
    return QStringLiteral("%1: %2 %3").arg(name, language.Name(), edited ? QStringLiteral("edited")
                                                                         : QStringLiteral("default"));
}

void WriteFile(const QString &path, const QByteArray &data)
{
    QSaveFile f(path);
    if (!f.open(QIODevice::WriteOnly) || f.write(data) != data.size() || !f.commit())
        throw FileError(path, 0, QStringLiteral("cannot write the file: %1").arg(f.errorString()));
}

// The state the editor shows, in the exchange files' terms.
TranslationState StateOf(const StringTableSet &set, StringId id, TableVersion table)
{
    switch (StringStates::Compute(set, id, table).translation) {
    case kvedit::TranslationState::OutOfDate: return TranslationState::OutOfDate;
    case kvedit::TranslationState::Unapproved: return TranslationState::Unapproved;
    case kvedit::TranslationState::Approved: return TranslationState::Approved;
    case kvedit::TranslationState::Missing:
    case kvedit::TranslationState::None: break;
    }
    return TranslationState::Missing;
}

TextProperties PropertiesOf(const StringEntry &entry)
{
    return TextProperties{(entry.Property(tpAllowShortcut) ? tpAllowShortcut : 0)
                              | (entry.Property(tpMultipleLines) ? tpMultipleLines : 0)
                              | (entry.Property(tpAllowTab) ? tpAllowTab : 0),
                          entry.ShortcutCharacter(), entry.ShortcutMode()};
}

void CheckTable(TableVersion table)
{
    if (table < ssLocalEdited || table > ssEnglishDefault)
        throw KvError(errInvalidCall, QStringLiteral("The table version %1 is outside 0 to 3").arg(static_cast<int>(table)));
}

} // namespace

void ImportSummary::AddNotImported(const QString &reason, const QString &id)
{
    ++skipped;
    for (NotImported &n : notImported)
        if (n.reason == reason) {
            n.ids.append(id);
            return;
        }
    notImported.append({reason, {id}});
}

bool IsExchangeFormat(FileFormat format)
{
    return format != FileFormat::ResourceScript;
}

std::optional<FileFormat> FormatOfFile(const QString &path)
{
    static const struct {
        const char *suffix;
        FileFormat format;
    } kFormats[] = {
        {"rc", FileFormat::ResourceScript},
        {"rc2", FileFormat::ResourceScript},
        {"dlg", FileFormat::ResourceScript},
        {"xlf", FileFormat::Xliff},
        {"xliff", FileFormat::Xliff},
        {"po", FileFormat::Po},
        {"pot", FileFormat::Po},
        {"ts", FileFormat::Ts},
    };
    const QString suffix = QFileInfo(path).suffix().toLower();
    for (const auto &f : kFormats)
        if (suffix == QLatin1String(f.suffix))
            return f.format;
    return std::nullopt;
}

namespace {

// The rule that keeps a file in one language out of a source in another: the translations'
// language for translations, English for the strings themselves, as the file states them.
void CheckLanguage(const ResourceStrings &strings, FileFormat format, bool english, const QString &target,
                   const ImportOptions &options, ImportSummary &summary)
{
    const bool exchange = IsExchangeFormat(format);
    const QString stated = english && exchange ? strings.sourceLanguageTag : strings.languageTag;
    const bool mismatch = !stated.isEmpty() && (english ? !IsEnglishTag(stated) : !SameLanguage(stated, target));
    // Translations are made from English texts.
    const bool foreignSource = !english && exchange && !strings.sourceLanguageTag.isEmpty()
                               && !IsEnglishTag(strings.sourceLanguageTag);
    if (!mismatch && !foreignSource)
        return;
    const QString what = mismatch ? QStringLiteral("the file is in %1, the workspace's %2 in %3")
                                        .arg(LanguageName(stated),
                                             english ? QStringLiteral("strings are") : QStringLiteral("translations are"),
                                             english ? LanguageName(QStringLiteral("en")) : LanguageName(target))
                                  : QStringLiteral("the file's source texts are in %1, the workspace's strings in English")
                                        .arg(LanguageName(strings.sourceLanguageTag));
    if (options.as != ImportAs::Automatic || options.acceptLanguageMismatch) {
        summary.notes.append({Diagnostic::Note, strings.file, strings.languageLine, what + QStringLiteral("; imported as asked")});
        return;
    }
    throw FileError(strings.file, strings.languageLine,
                    what + QStringLiteral("; nothing was imported (--as names the source to fill, "
                                          "--language-mismatch=accept takes the file as it is)"));
}

} // namespace

ImportSummary ImportStrings(server::Workspace &workspace, const ResourceStrings &strings, FileFormat format,
                            ImportAs as, const Progress &progress)
{
    ImportOptions options;
    options.as = as;
    options.progress = progress;
    return ImportStrings(workspace, strings, format, options);
}

ImportSummary ImportStrings(server::Workspace &workspace, const ResourceStrings &strings, FileFormat format,
                            const ImportOptions &options)
{
    const std::shared_ptr<server::TableSet> set = workspace.Set();
    if (set->Modified())
        throw KvError(errInvalidCall, QStringLiteral("The workspace has unsaved edits; save or discard them first"));

    ImportSummary summary;
    summary.languageTag = strings.languageTag;
    summary.notes = strings.notes;
    const QString target = workspace.Info().targetLanguage;

    bool english = false;
    switch (options.as) {
    case ImportAs::EnglishDefault: english = true; break;
    case ImportAs::LocalDefault:
    case ImportAs::LocalEdited: english = false; break;
    case ImportAs::Automatic:
        if (format == FileFormat::ResourceScript) {
            english = strings.languageTag.isEmpty() || IsEnglishTag(strings.languageTag);
            if (strings.languageTag.isEmpty())
                summary.notes.append({Diagnostic::Note, strings.file, 0,
                                      QStringLiteral("the script states no LANGUAGE; its strings are taken as the "
                                                     "English default")});
        } else {
            // An exchange file with no target language and no targets holds only source texts.
            english = strings.languageTag.isEmpty()
                      && std::none_of(strings.strings.cbegin(), strings.strings.cend(),
                                      [](const ImportedString &s) { return s.target.has_value(); });
            if (english)
                summary.notes.append({Diagnostic::Note, strings.file, 0,
                                      QStringLiteral("the file has no target language and no translations; its "
                                                     "source texts are taken as the English default")});
        }
        break;
    }
    summary.source = english ? ssEnglishDefault : options.as == ImportAs::LocalEdited ? ssLocalEdited : ssLocalDefault;
    CheckLanguage(strings, format, english, target, options, summary);
    // PO and TS messages may have no key but their English text.
    ResourceStrings resolved;
    const bool catalog = format == FileFormat::Po || format == FileFormat::Ts;
    if (catalog) {
        resolved = strings;
        resolved.notes.clear();
        ResolveKeylessStrings(resolved, *set, english);
        summary.notes += resolved.notes;
    }
    for (const SkippedString &s : catalog ? resolved.skipped : strings.skipped)
        summary.AddNotImported(s.reason, s.id);
    const QList<ImportedString> &list = catalog ? resolved.strings : strings.strings;

    Importer importer(workspace, summary, english ? ssLocalDefault : summary.source);
    try {
        if (english)
            importer.ImportEnglish(list, IsExchangeFormat(format), options.progress);
        else if (IsExchangeFormat(format))
            importer.ImportXliffTranslations(list, options.progress);
        else
            importer.ImportScriptTranslations(strings.strings, options.progress);
        set->Save(summary.source, false);
    } catch (...) {
        set->DiscardEdits();
        throw;
    }
    return summary;
}

namespace {

// Translations from an XLIFF file read as a stream: our own units are stored as they are read,
// so the file is never held as a whole; another tool's follow at the end, once their ids are
// known.
ImportSummary ImportXliffStream(server::Workspace &workspace, const QString &file, const ImportOptions &options)
{
    const std::shared_ptr<server::TableSet> set = workspace.Set();
    if (set->Modified())
        throw KvError(errInvalidCall, QStringLiteral("The workspace has unsaved edits; save or discard them first"));
    ImportSummary summary;
    summary.source = options.as == ImportAs::LocalEdited ? ssLocalEdited : ssLocalDefault;
    Importer importer(workspace, summary, summary.source);
    int done = 0;
    try {
        const ResourceStrings rest = ReadXliffStreaming(
            file,
            [&](const ResourceStrings &header) {
                summary.languageTag = header.languageTag;
                CheckLanguage(header, FileFormat::Xliff, false, workspace.Info().targetLanguage, options, summary);
            },
            [&](ImportedString &&s, qint64 position, qint64 size) {
                importer.ImportXliffTranslation(s);
                if (options.progress && ++done % kProgressStep == 0)
                    options.progress(static_cast<int>(position / 1024), static_cast<int>(size / 1024));
            });
        summary.notes = rest.notes + summary.notes;
        importer.ImportXliffTranslations(rest.strings, {});
        set->Save(summary.source, false);
    } catch (...) {
        set->DiscardEdits();
        throw;
    }
    return summary;
}

} // namespace

ImportSummary ImportFile(server::Workspace &workspace, const QString &file, const ImportOptions &options)
{
    const std::optional<FileFormat> format = FormatOfFile(file);
    if (!format)
        throw FileError(file, 0, QStringLiteral("the kind of file is not known by its extension (.rc, .xlf, .xliff, .po, .pot or .ts)"));
    ResourceStrings strings;
    switch (*format) {
    case FileFormat::ResourceScript: {
        RcReadOptions rc = options.rc;
        rc.maximumId = workspace.Info().maximumCount;
        strings = ReadResourceScript(file, rc);
        break;
    }
    case FileFormat::Xliff:
        // A file that states its target language holds translations: streamed. Without one it
        // may hold only source texts, which the whole file decides.
        if (options.as == ImportAs::LocalDefault || options.as == ImportAs::LocalEdited
            || (options.as == ImportAs::Automatic && !XliffTargetLanguage(file).isEmpty()))
            return ImportXliffStream(workspace, file, options);
        strings = ReadXliff(file);
        break;
    case FileFormat::Po:
        strings = ReadPo(file);
        break;
    case FileFormat::Ts:
        strings = ReadTs(file);
        break;
    }
    return ImportStrings(workspace, strings, *format, options);
}

ExportSummary ExportFile(server::Workspace &workspace, const QString &file, const ExportOptions &options)
{
    CheckTable(options.table);
    const std::optional<FileFormat> format = FormatOfFile(file);
    if (!format)
        throw FileError(file, 0, QStringLiteral("the kind of file is not known by its extension (.rc, .xlf, .xliff, .po, .pot or .ts)"));
    const std::shared_ptr<server::TableSet> set = workspace.Set();
    const int maximum = set->MaximumCount();
    const bool local = options.table == ssLocalEdited || options.table == ssLocalDefault;
    const QString tag = local ? workspace.Info().targetLanguage : QStringLiteral("en-US");

    ExportSummary summary;
    summary.languageTag = tag;
    QList<ImportedString> strings;
    for (int i = 1; i <= maximum; ++i) {
        const StringId id = static_cast<StringId>(i);
        if (!IsExchangeFormat(*format)) {
            if (!set->HasText(id, options.table))
                continue;
            ImportedString s;
            s.id = id;
            s.symbol = set->Symbol(id);
            s.text = set->Text(id, options.table);
            strings.append(s);
        } else {
            if (!set->HasText(id, ssEnglishDefault))
                continue;
            const StringEntryPtr english = set->Entry(id, ssEnglishDefault);
            ImportedString s;
            s.id = id;
            s.symbol = set->Symbol(id);
            s.sourceText = english->Text();
            s.text = s.sourceText;
            s.description = english->EntryText();
            s.origin = set->Origin(id);
            s.properties = PropertiesOf(*english);
            s.parameters = set->Parameters(id);
            if (options.table != ssEnglishDefault) {
                s.state = StateOf(*set, id, options.table);
                if (s.state != TranslationState::Missing) {
                    const StringEntryPtr translation = set->Entry(id, options.table);
                    s.target = translation->Text();
                    s.targetProperties = PropertiesOf(*translation);
                    s.targetApproved = translation->Status(sfApproved);
                }
            }
            strings.append(s);
        }
        if (options.progress && i % 1000 == 0)
            options.progress(i, maximum);
    }

    QByteArray data;
    switch (*format) {
    case FileFormat::ResourceScript:
        data = WriteResourceScript(strings, RcWriteOptions{tag, SourceTitle(workspace, options.table)});
        if (strings.isEmpty())
            summary.notes.append({Diagnostic::Note, file, 0,
                                  QStringLiteral("the table holds no strings; the script has no STRINGTABLE (an "
                                                 "empty one does not compile)")});
        break;
    case FileFormat::Xliff: {
        XliffDocument document;
        document.original = workspace.Name().isEmpty() ? QFileInfo(workspace.FilePath()).fileName() : workspace.Name();
        document.sourceLanguage = QStringLiteral("en-US");
        if (options.table != ssEnglishDefault)
            document.targetLanguage = tag;
        document.units = strings;
        data = WriteXliff(document);
        break;
    }
    case FileFormat::Po:
        data = WritePo(PoDocument{workspace.Name(), options.table != ssEnglishDefault ? tag : QString(), strings, file});
        break;
    case FileFormat::Ts: {
        const QString context = workspace.Name().isEmpty() ? QFileInfo(workspace.FilePath()).completeBaseName() : workspace.Name();
        data = WriteTs(TsDocument{context, options.table != ssEnglishDefault ? tag : QString(), strings});
        break;
    }
    }
    WriteFile(file, data);
    if (options.progress)
        options.progress(maximum, maximum);
    summary.strings = static_cast<int>(strings.size());
    return summary;
}

} // namespace kvedit::io
