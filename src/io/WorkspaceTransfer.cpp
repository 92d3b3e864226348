#include "io/WorkspaceTransfer.h"

#include "io/LanguageIds.h"
#include "io/RcWriter.h"
#include "io/Xliff.h"
#include "server/Entry.h"
#include "server/TableSet.h"

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

bool SameLanguage(const QString &a, const QString &b)
{
    return LanguageForTag(a).Value() == LanguageForTag(b).Value();
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
    Importer(server::Workspace &workspace, ImportSummary &summary)
        : m_ws(workspace), m_set(*workspace.Set()), m_server(*workspace.TextServer()), m_summary(summary)
    {
        // The set looks symbols up one by one; a file names thousands of them.
        for (int i = 1; i <= m_set.MaximumCount(); ++i) {
            const QString symbol = m_set.Symbol(static_cast<StringId>(i));
            if (!symbol.isEmpty())
                m_idOfSymbol.insert(symbol, static_cast<StringId>(i));
        }
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
        QHash<StringId, int> seen;
        for (const ImportedString &s : strings) {
            Report(progress, ++done, static_cast<int>(strings.size()));
            const std::optional<StringId> id = KnownId(s);
            if (!id)
                continue;
            if (seen.contains(*id))
                throw FileError(s.file, s.line, QStringLiteral("the string %1 is translated twice (first on line %2)")
                                                    .arg(*id)
                                                    .arg(seen.value(*id)));
            seen.insert(*id, s.line);
            if (s.state == TranslationState::Missing || !s.target) {
                ++m_summary.skipped;
                continue;
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
                             s.targetApproved || s.state == TranslationState::Approved, outOfDate);
        }
    }

private:
    void Note(const ImportedString &s, const QString &message)
    {
        m_summary.notes.append({Diagnostic::Note, s.file, s.line, message});
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
        if (s.id > 0 && s.id <= m_set.MaximumCount())
            id = static_cast<StringId>(s.id);
        else if (s.id == 0 && !s.symbol.isEmpty())
            id = m_idOfSymbol.value(s.symbol);
        if (id == 0 || !m_set.IdInUse(id, ssEnglishDefault)) {
            if (s.id <= 0 && s.symbol.isEmpty())
                Note(s, QStringLiteral("the unit has no id; not imported"));
            else
                Note(s, QStringLiteral("%1 is not a string of the workspace; not imported")
                            .arg(s.id > 0 ? QStringLiteral("id %1").arg(s.id) : QStringLiteral("\"%1\"").arg(s.symbol)));
            ++m_summary.skipped;
            return std::nullopt;
        }
        return id;
    }

    void StoreTranslation(StringId id, const QString &text, const TextProperties &fileProperties, bool given,
                          std::optional<bool> approved, bool outOfDate)
    {
        const std::optional<server::Record> before = m_set.RecordOf(id, ssLocalDefault);
        const StringEntryPtr entry = before ? m_set.Entry(id, ssLocalDefault)
                                            : m_server.CreateEntry(m_ws.Tables(), id, ssLocalDefault);
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
            std::optional<server::Record> record = m_set.RecordOf(id, ssLocalDefault);
            const qint16 english = m_set.Revision(id, ssEnglishDefault);
            if (record && english > 0) {
                record->revision = static_cast<qint16>(english - 1);
                m_set.PutRecord(id, ssLocalDefault, record);
            }
        }
        Count(before, id, ssLocalDefault);
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
            if (s.id == 0) {
                s.id = m_idOfSymbol.value(s.symbol);
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
                        throw FileError(s.file, s.line, QStringLiteral("no free string id is left for %1").arg(s.symbol));
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
    QHash<QString, StringId> m_idOfSymbol;
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

TranslationState StateOf(const StringTableSet &set, StringId id, TableVersion table)
{
    if (!set.HasText(id, table))
        return TranslationState::Missing;
    if (set.Revision(id, table) < set.Revision(id, ssEnglishDefault))
        return TranslationState::OutOfDate;
    if (!set.HasStatus(id, table, sfApproved))
        return TranslationState::Unapproved;
    return TranslationState::Approved;
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

std::optional<FileFormat> FormatOfFile(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("rc") || suffix == QLatin1String("rc2") || suffix == QLatin1String("dlg"))
        return FileFormat::ResourceScript;
    if (suffix == QLatin1String("xlf") || suffix == QLatin1String("xliff"))
        return FileFormat::Xliff;
    return std::nullopt;
}

ImportSummary ImportStrings(server::Workspace &workspace, const ResourceStrings &strings, FileFormat format,
                            ImportAs as, const Progress &progress)
{
    const std::shared_ptr<server::TableSet> set = workspace.Set();
    if (set->Modified())
        throw KvError(errInvalidCall, QStringLiteral("The workspace has unsaved edits; save or discard them first"));

    ImportSummary summary;
    summary.languageTag = strings.languageTag;
    summary.notes = strings.notes;
    const QString target = workspace.Info().targetLanguage;

    bool english = false;
    switch (as) {
    case ImportAs::EnglishDefault: english = true; break;
    case ImportAs::LocalDefault: english = false; break;
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
    summary.source = english ? ssEnglishDefault : ssLocalDefault;
    if (!english && !strings.languageTag.isEmpty() && !SameLanguage(strings.languageTag, target))
        summary.notes.append({Diagnostic::Note, strings.file, 0,
                              QStringLiteral("the file is in %1, the workspace's translations are in %2")
                                  .arg(strings.languageTag, target)});

    Importer importer(workspace, summary);
    try {
        if (english)
            importer.ImportEnglish(strings.strings, format == FileFormat::Xliff, progress);
        else if (format == FileFormat::Xliff)
            importer.ImportXliffTranslations(strings.strings, progress);
        else
            importer.ImportScriptTranslations(strings.strings, progress);
        set->Save(summary.source, false);
    } catch (...) {
        set->DiscardEdits();
        throw;
    }
    return summary;
}

ImportSummary ImportFile(server::Workspace &workspace, const QString &file, const ImportOptions &options)
{
    const std::optional<FileFormat> format = FormatOfFile(file);
    if (!format)
        throw FileError(file, 0, QStringLiteral("the kind of file is not known by its extension (.rc, .xlf or .xliff)"));
    ResourceStrings strings;
    if (*format == FileFormat::ResourceScript) {
        RcReadOptions rc = options.rc;
        rc.maximumId = workspace.Info().maximumCount;
        strings = ReadResourceScript(file, rc);
    } else {
        strings = ReadXliff(file);
    }
    return ImportStrings(workspace, strings, *format, options.as, options.progress);
}

ExportSummary ExportFile(server::Workspace &workspace, const QString &file, const ExportOptions &options)
{
    CheckTable(options.table);
    const std::optional<FileFormat> format = FormatOfFile(file);
    if (!format)
        throw FileError(file, 0, QStringLiteral("the kind of file is not known by its extension (.rc, .xlf or .xliff)"));
    const std::shared_ptr<server::TableSet> set = workspace.Set();
    const int maximum = set->MaximumCount();
    const bool local = options.table == ssLocalEdited || options.table == ssLocalDefault;
    const QString tag = local ? workspace.Info().targetLanguage : QStringLiteral("en-US");

    ExportSummary summary;
    summary.languageTag = tag;
    QList<ImportedString> strings;
    for (int i = 1; i <= maximum; ++i) {
        const StringId id = static_cast<StringId>(i);
        if (*format == FileFormat::ResourceScript) {
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
    if (*format == FileFormat::ResourceScript) {
        data = WriteResourceScript(strings, RcWriteOptions{tag, SourceTitle(workspace, options.table)});
    } else {
        XliffDocument document;
        document.original = workspace.Name().isEmpty() ? QFileInfo(workspace.FilePath()).fileName() : workspace.Name();
        document.sourceLanguage = QStringLiteral("en-US");
        if (options.table != ssEnglishDefault)
            document.targetLanguage = tag;
        document.units = strings;
        data = WriteXliff(document);
    }
    WriteFile(file, data);
    if (options.progress)
        options.progress(maximum, maximum);
    summary.strings = static_cast<int>(strings.size());
    return summary;
}

StringCounts CountStrings(server::Workspace &workspace, TableVersion version)
{
    CheckTable(version);
    const std::shared_ptr<server::TableSet> set = workspace.Set();
    StringCounts c;
    const int maximum = set->MaximumCount();
    for (int i = 1; i <= maximum; ++i) {
        const StringId id = static_cast<StringId>(i);
        if (!set->IdInUse(id, ssEnglishDefault))
            continue;
        ++c.total;
        const bool has = set->HasText(id, version);
        const bool outOfDate = !has || set->Revision(id, version) < set->Revision(id, ssEnglishDefault);
        c.translated += has;
        c.missing += !has;
        c.outOfDate += outOfDate;
        c.unapproved += outOfDate || !set->HasStatus(id, version, sfApproved);
    }
    return c;
}

} // namespace kvedit::io
