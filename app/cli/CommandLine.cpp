#include "cli/CommandLine.h"

#include "cli/QualityReport.h"

#include "history/EnglishChanges.h"

#include "io/CodePages.h"
#include "memorysetup/MemorySetup.h"
#include "io/WorkspaceTransfer.h"
#include "model/StandardLocale.h"
#include "server/TableSet.h"
#include "server/Workspace.h"
#include "states/StringStates.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QRegularExpression>
#include <QTextStream>

#include <cstdio>
#include <cstring>
#include <memory>

#include <unistd.h>

namespace kvedit::cli {

namespace {

const char *const kTools[] = {"new", "import", "export", "stats", "check", "demo", "pretranslate"};

// A wrong command line: printed with the usage and ends with exit code 2.
struct UsageError {
    QString message;
    bool withUsage = true;   // false for a bad value, where the usage would only bury the line
};

QString Usage()
{
    return QStringLiteral(
        "Usage:\n"
        "  kvedit new WORKSPACE --language TAG\n"
        "  kvedit import WORKSPACE FILE [--as english-default|local-default|local-edited] [-I DIR]\n"
        "                               [-D NAME[=VALUE]] [--header FILE] [--codepage N]\n"
        "                               [--language-mismatch=accept] [--skip-out-of-range] [--json] [--strict]\n"
        "                               [--allow-include-anywhere]\n"
        "  kvedit export WORKSPACE FILE [--table 0..3]\n"
        "  kvedit stats WORKSPACE [--table 0..3] [--json]\n"
        "  kvedit check WORKSPACE [--table 0..3] [--json] [--rule ID]... [--no-rule ID]... [--warnings-as-errors]\n"
        "                         [--save-rules]\n"
        "  kvedit demo WORKSPACE [--force]\n"
        "  kvedit pretranslate WORKSPACE [--table 0..1] [--min 50..100] [--memory FILE]...\n"
        "FILE is a resource script (.rc) or an XLIFF 1.2 file (.xlf, .xliff). Tables: 0 Local Edited (the\n"
        "default), 1 Local Default, 2 English Edited, 3 English Default. An import goes by the file's\n"
        "language unless --as says otherwise, and refuses a file in another language than the source it\n"
        "fills unless --as or --language-mismatch=accept says so.\n"
        "FILE may also be a gettext catalog (.po, .pot) or a Qt TS file (.ts). check exits with 1 when a string\n"
        "has an error; --strict imports nothing that would add one. pretranslate fills missing translations\n"
        "from the translation memory (matches of at least --min %, 100 by default), unapproved, and saves them\n"
        "at once. Rules: ")
           + checks::RuleSet::All().Ids().join(QStringLiteral(", ")) + QStringLiteral(".\n");
}

// Parses the tool's own arguments (the tool name is the first); positional counts are checked
// by the caller.
void Parse(QCommandLineParser &parser, const QStringList &arguments)
{
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsCompactedShortOptions);
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsOptions);
    if (!parser.parse(arguments))
        throw UsageError{parser.errorText()};
}

TableVersion TableOption(const QCommandLineParser &parser, const QCommandLineOption &option)
{
    if (!parser.isSet(option))
        return ssLocalEdited;
    bool ok = false;
    const int table = parser.value(option).toInt(&ok);
    if (!ok || table < 0 || table > 3)
        throw UsageError{QStringLiteral("--table takes 0 to 3, not \"%1\"").arg(parser.value(option))};
    return static_cast<TableVersion>(table);
}

// language[-Script][-REGION] with a language this system knows: a typing slip such as
// "xx-INVALID" must not become a workspace's language.
bool IsKnownLanguageTag(const QString &tag)
{
    static const QRegularExpression form(QStringLiteral("^[a-z]{2,3}(-[a-z]{4})?(-([a-z]{2}|[0-9]{3}))?$"),
                                         QRegularExpression::CaseInsensitiveOption);
    if (!form.match(tag).hasMatch())
        return false;
    return QLocale(tag.section(u'-', 0, 0)).language() != QLocale::C;
}

class ProgressLine {
public:
    ProgressLine(QTextStream &err, bool interactive, QString verb)
        : m_err(err), m_interactive(interactive), m_verb(std::move(verb))
    {
    }
    ~ProgressLine() { Clear(); }

    io::Progress Callback()
    {
        if (!m_interactive)
            return {};
        return [this](int done, int total) {
            m_err << '\r' << m_verb << ' ' << done << '/' << total << Qt::flush;
            m_shown = true;
        };
    }

    void Clear()
    {
        if (m_shown)
            m_err << "\r\033[K" << Qt::flush;
        m_shown = false;
    }

private:
    QTextStream &m_err;
    bool m_interactive;
    QString m_verb;
    bool m_shown = false;
};

void PrintNotes(QTextStream &err, const QList<io::Diagnostic> &notes)
{
    for (const io::Diagnostic &d : notes)
        err << d.ToString() << '\n';
}

constexpr int kIdsShown = 5;

// "4242, 4243, 4244, 4245, 4246 and 3 more"
QString FirstIds(const QStringList &ids)
{
    QString out = ids.mid(0, kIdsShown).join(QLatin1String(", "));
    if (ids.size() > kIdsShown)
        out += QStringLiteral(" and %1 more").arg(ids.size() - kIdsShown);
    return out;
}

QJsonObject ImportJson(const QString &file, const io::ImportSummary &summary)
{
    QJsonArray reasons;
    for (const io::NotImported &n : summary.notImported)
        reasons.append(QJsonObject{{QStringLiteral("reason"), n.reason},
                                   {QStringLiteral("count"), static_cast<int>(n.ids.size())},
                                   {QStringLiteral("ids"), QJsonArray::fromStringList(n.ids)}});
    QJsonArray notes;
    for (const io::Diagnostic &d : summary.notes)
        notes.append(d.ToString());
    return QJsonObject{{QStringLiteral("file"), file},
                       {QStringLiteral("source"), server::TableSet::FixedSourceName(summary.source)},
                       {QStringLiteral("language"), summary.languageTag},
                       {QStringLiteral("added"), summary.added},
                       {QStringLiteral("changed"), summary.changed},
                       {QStringLiteral("unchanged"), summary.unchanged},
                       {QStringLiteral("notImported"), summary.skipped},
                       {QStringLiteral("reasons"), reasons},
                       {QStringLiteral("notes"), notes}};
}

// The imported strings' problems, counted in one line.
void PrintImportedProblems(server::Workspace &workspace, const QList<StringId> &imported, StringSource source,
                           const QString &path, QTextStream &out)
{
    checks::TableChecker checker(workspace.Tables(), source, workspace.Info().maximumCount, WorkspaceRules(*workspace.Tables()));
    if (imported.size() == 1)
        out << "The added or changed string carries " << CountsText(checker.Count(imported));
    else
        out << "The " << imported.size() << " added or changed strings carry " << CountsText(checker.Count(imported));
    if (!imported.isEmpty())
        out << " (kvedit check " << path << " --table " << static_cast<int>(source) << " lists them)";
    out << '\n';
}

// --strict: the import tried on a copy of the workspace first; true (with the new errors
// printed) when it would give a string more errors than it has.
bool RefuseImportAddingErrors(server::Workspace &workspace, const QString &file, const io::ImportOptions &options,
                              QTextStream &err)
{
    QTemporaryDir dir;
    const QString copy = dir.filePath(QStringLiteral("trial.kvw"));
    // A write-ahead log not yet merged into the file holds saved work too.
    if (!dir.isValid() || !QFile::copy(workspace.FilePath(), copy)
        || (QFile::exists(workspace.FilePath() + QStringLiteral("-wal"))
            && !QFile::copy(workspace.FilePath() + QStringLiteral("-wal"), copy + QStringLiteral("-wal"))))
        throw KvError(errFileAccess, QStringLiteral("Cannot try the import on a copy of %1").arg(workspace.FilePath()));
    const server::WorkspacePtr trial = server::Workspace::Open(copy);
    const ImportSnapshot before(*trial->Set());
    const io::ImportSummary summary = io::ImportFile(*trial, file, options);
    const QList<StringId> imported = before.Changed(*trial->Set(), summary.source);
    const checks::RuleSet rules = WorkspaceRules(*workspace.Tables());
    const int maximum = workspace.Info().maximumCount;
    checks::TableChecker was(workspace.Tables(), summary.source, maximum, rules);
    checks::TableChecker would(trial->Tables(), summary.source, maximum, rules);
    int added = 0;
    for (const StringId id : imported) {
        if (would.Count(id).errors <= was.Count(id).errors)
            continue;
        for (const checks::Problem &p : would.ProblemsOf(id))
            if (p.severity == checks::Severity::Error)
                err << ProblemLine(file + QStringLiteral(": string"), id, trial->Symbol(id), p).replace(
                    file + QStringLiteral(": string:"), file + QStringLiteral(": string ")) << '\n';
        added += would.Count(id).errors - was.Count(id).errors;
    }
    if (added == 0)
        return false;
    err << file << ": error: the import would add " << added << (added == 1 ? " error" : " errors")
        << "; nothing was imported (--strict)\n";
    return true;
}

int RunCheck(const QStringList &arguments, QTextStream &out)
{
    QCommandLineParser parser;
    const QCommandLineOption table(QStringLiteral("table"), QStringLiteral("Table version 0 to 3."), QStringLiteral("n"));
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Print JSON."));
    const QCommandLineOption rule(QStringLiteral("rule"), QStringLiteral("Run a rule the workspace switched off."),
                                  QStringLiteral("id"));
    const QCommandLineOption noRule(QStringLiteral("no-rule"), QStringLiteral("Leave a rule out."), QStringLiteral("id"));
    const QCommandLineOption warningsAsErrors(QStringLiteral("warnings-as-errors"), QStringLiteral("Fail on warnings too."));
    const QCommandLineOption saveRules(QStringLiteral("save-rules"),
                                       QStringLiteral("Keep the rules switched off in the workspace."));
    parser.addOptions({table, json, rule, noRule, warningsAsErrors, saveRules});
    Parse(parser, arguments);
    if (parser.positionalArguments().size() != 1)
        throw UsageError{QStringLiteral("check expects one workspace file")};
    const TableVersion version = TableOption(parser, table);
    for (const QString &id : parser.values(rule) + parser.values(noRule))
        if (checks::RuleIndex(id) < 0)
            throw UsageError{QStringLiteral("there is no rule \"%1\"; the rules are %2")
                                 .arg(id, checks::RuleSet::All().Ids().join(QStringLiteral(", ")))};

    const QString path = parser.positionalArguments().at(0);
    const server::WorkspacePtr workspace = server::Workspace::Open(path);
    const StringTableSetPtr tables = workspace->Tables();
    QStringList unknown;   // switched off by a newer version: kept as they are
    checks::RuleSet rules = checks::RuleSet::AllBut(tables->DisabledCheckRules(), &unknown);
    for (const QString &id : parser.values(rule))
        rules.Set(id, true);
    for (const QString &id : parser.values(noRule))   // --no-rule wins
        rules.Set(id, false);
    if (parser.isSet(saveRules)) {
        tables->SetDisabledCheckRules(rules.DisabledIds() + unknown);
        tables->Save(version, false);
    }

    checks::TableChecker checker(tables, version, workspace->Info().maximumCount, rules);
    const QList<StringId> ids = checker.IdsWithProblems();
    const checks::Totals totals = checker.Count(ids);
    if (parser.isSet(json)) {
        QJsonArray problems;
        for (const StringId id : ids)
            for (const checks::Problem &p : checker.ProblemsOf(id))
                problems.append(ProblemJson(id, tables->Symbol(id), p));
        QJsonObject o;
        o.insert(QStringLiteral("workspace"), path);
        o.insert(QStringLiteral("table"), static_cast<int>(version));
        o.insert(QStringLiteral("rules"), QJsonArray::fromStringList(rules.Ids()));
        o.insert(QStringLiteral("errors"), totals.errors);
        o.insert(QStringLiteral("warnings"), totals.warnings);
        o.insert(QStringLiteral("strings"), totals.strings);
        o.insert(QStringLiteral("problems"), problems);
        out << QJsonDocument(o).toJson(QJsonDocument::Indented);
    } else {
        for (const StringId id : ids)
            for (const checks::Problem &p : checker.ProblemsOf(id))
                out << ProblemLine(path, id, tables->Symbol(id), p) << '\n';
        out << path << ", table " << static_cast<int>(version) << " (" << server::TableSet::FixedSourceName(version) << "): "
            << CountsText(totals) << " in " << totals.strings << (totals.strings == 1 ? " string" : " strings") << '\n';
    }
    const bool failed = totals.errors > 0 || (parser.isSet(warningsAsErrors) && totals.warnings > 0);
    return failed ? exitBadInput : exitSuccess;
}

int RunNew(const QStringList &arguments, QTextStream &out)
{
    QCommandLineParser parser;
    const QCommandLineOption language(QStringLiteral("language"), QStringLiteral("Target language (BCP 47)."),
                                      QStringLiteral("tag"));
    const QCommandLineOption name(QStringLiteral("name"), QStringLiteral("Name shown in titles."),
                                  QStringLiteral("name"));
    parser.addOptions({language, name});
    Parse(parser, arguments);
    if (parser.positionalArguments().size() != 1)
        throw UsageError{QStringLiteral("new expects one workspace file")};
    if (!parser.isSet(language))
        throw UsageError{QStringLiteral("new needs --language (for example --language de-DE)")};
    const QString tag = parser.value(language);
    if (!LanguageForTag(tag).IsValid() || !IsKnownLanguageTag(tag))
        throw UsageError{QStringLiteral("\"%1\" is not a language tag of a known language").arg(tag), false};

    server::WorkspaceInfo info;
    const QString path = parser.positionalArguments().at(0);
    info.name = parser.isSet(name) ? parser.value(name) : QFileInfo(path).completeBaseName();
    info.targetLanguage = tag;
    const server::WorkspacePtr workspace = server::Workspace::Create(path, info);
    out << "Created " << path << " (" << LanguageForTag(tag).Name() << ", " << tag << ")\n";
    return exitSuccess;
}

// The translations an XLIFF file offers beside its own (<alt-trans>) become suggestions of the
// translation memory for this workspace. The import stands whatever happens to them.
void KeepOfferedTranslations(const QString &path, const QString &language, const io::ImportSummary &summary,
                             QTextStream &out, QTextStream &err)
{
    if (summary.alternatives.isEmpty())
        return;
    QList<memory::TranslationMemory::Offered> offers;
    QSet<StringId> ids;
    for (const io::ImportSummary::Alternative &a : summary.alternatives) {
        offers.append({a.id, a.english, a.target, a.quality});
        ids.insert(a.id);
    }
    try {
        memory::TranslationMemory memory;
        memory.KeepOffered(path, language, offers);
        out << "Kept the translations the file offers for " << ids.size()
            << " strings as suggestions of the translation memory\n";
    } catch (const KvError &e) {
        err << "warning: the translations the file offers were not kept: " << e.Description() << '\n';
    }
}

int RunImport(const QStringList &arguments, QTextStream &out, QTextStream &err, bool interactive)
{
    QCommandLineParser parser;
    const QCommandLineOption as(QStringLiteral("as"), QStringLiteral("english-default or local-default."),
                                QStringLiteral("source"));
    const QCommandLineOption include(QStringLiteral("I"), QStringLiteral("Include directory."), QStringLiteral("dir"));
    const QCommandLineOption define(QStringLiteral("D"), QStringLiteral("Preprocessor definition."),
                                    QStringLiteral("name[=value]"));
    const QCommandLineOption header(QStringLiteral("header"), QStringLiteral("Header read before the script."),
                                    QStringLiteral("file"));
    const QCommandLineOption codePage(QStringLiteral("codepage"),
                                      QStringLiteral("Code page of text before any #pragma code_page."),
                                      QStringLiteral("n"));
    const QCommandLineOption mismatch(QStringLiteral("language-mismatch"),
                                      QStringLiteral("accept: import a file in another language than the source."),
                                      QStringLiteral("accept"));
    const QCommandLineOption skipOutOfRange(QStringLiteral("skip-out-of-range"),
                                            QStringLiteral("Import a script's other strings when some ids are too high."));
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Print the summary as JSON."));
    const QCommandLineOption strict(QStringLiteral("strict"), QStringLiteral("Import nothing that would add an error."));
    const QCommandLineOption anywhere(QStringLiteral("allow-include-anywhere"),
                                      QStringLiteral("Let #include read files outside the script's, -I and header folders."));
    parser.addOptions({as, include, define, header, codePage, mismatch, skipOutOfRange, json, strict, anywhere});
    Parse(parser, arguments);
    if (parser.positionalArguments().size() != 2)
        throw UsageError{QStringLiteral("import expects a workspace file and the file to import")};

    io::ImportOptions options;
    if (parser.isSet(as)) {
        const QString value = parser.value(as);
        if (value == QLatin1String("english-default"))
            options.as = io::ImportAs::EnglishDefault;
        else if (value == QLatin1String("local-default"))
            options.as = io::ImportAs::LocalDefault;
        else if (value == QLatin1String("local-edited"))
            options.as = io::ImportAs::LocalEdited;
        else
            throw UsageError{QStringLiteral("--as takes english-default, local-default or local-edited, not \"%1\"").arg(value)};
    }
    if (parser.isSet(mismatch)) {
        if (parser.value(mismatch) != QLatin1String("accept"))
            throw UsageError{QStringLiteral("--language-mismatch takes accept, not \"%1\"").arg(parser.value(mismatch))};
        options.acceptLanguageMismatch = true;
    }
    options.rc.skipOutOfRange = parser.isSet(skipOutOfRange);
    options.rc.includeDirs = parser.values(include);
    options.rc.defines = parser.values(define);
    options.rc.headers = parser.values(header);
    if (parser.isSet(codePage)) {
        bool ok = false;
        options.rc.codePage = parser.value(codePage).toInt(&ok);
        if (!ok || options.rc.codePage <= 0 || io::CodecNameOfCodePage(options.rc.codePage).isEmpty())
            throw UsageError{QStringLiteral("--codepage takes a known code page number, not \"%1\"").arg(parser.value(codePage)),
                             false};
    }
    options.rc.includeAnywhere = parser.isSet(anywhere);

    const QString path = parser.positionalArguments().at(0);
    const QString file = parser.positionalArguments().at(1);
    const server::WorkspacePtr workspace = server::Workspace::Open(path);
    if (parser.isSet(strict) && RefuseImportAddingErrors(*workspace, file, options, err))
        return exitBadInput;
    const ImportSnapshot before(*workspace->Set());
    ProgressLine progress(err, interactive, QStringLiteral("Importing"));
    options.progress = progress.Callback();
    const io::ImportSummary summary = io::ImportFile(*workspace, file, options);
    progress.Clear();
    if (parser.isSet(json)) {
        out << QJsonDocument(ImportJson(file, summary)).toJson(QJsonDocument::Indented);
        return exitSuccess;
    }
    PrintNotes(err, summary.notes);
    out << "Imported " << file << " into " << server::TableSet::FixedSourceName(summary.source) << ": "
        << summary.added << " added, " << summary.changed << " changed, " << summary.unchanged << " unchanged";
    if (summary.skipped)
        out << ", " << summary.skipped << " not imported:";
    out << '\n';
    for (const io::NotImported &n : summary.notImported)
        out << "  " << n.ids.size() << ' ' << n.reason << ": " << FirstIds(n.ids) << '\n';
    PrintImportedProblems(*workspace, before.Changed(*workspace->Set(), summary.source), summary.source, path, out);
    KeepOfferedTranslations(path, workspace->Tables()->SourceLanguage(ssLocalEdited).Value(), summary, out, err);
    return exitSuccess;
}

int RunExport(const QStringList &arguments, QTextStream &out, QTextStream &err, bool interactive)
{
    QCommandLineParser parser;
    const QCommandLineOption table(QStringLiteral("table"), QStringLiteral("Table version 0 to 3."),
                                   QStringLiteral("n"));
    parser.addOption(table);
    Parse(parser, arguments);
    if (parser.positionalArguments().size() != 2)
        throw UsageError{QStringLiteral("export expects a workspace file and the file to write")};
    io::ExportOptions options;
    options.table = TableOption(parser, table);
    const QString path = parser.positionalArguments().at(0);
    const QString file = parser.positionalArguments().at(1);
    const server::WorkspacePtr workspace = server::Workspace::Open(path);
    ProgressLine progress(err, interactive, QStringLiteral("Exporting"));
    options.progress = progress.Callback();
    const io::ExportSummary summary = io::ExportFile(*workspace, file, options);
    progress.Clear();
    PrintNotes(err, summary.notes);
    out << "Exported " << summary.strings << " strings of "
        << server::TableSet::FixedSourceName(options.table) << " to " << file << '\n';
    checks::TableChecker checker(workspace->Tables(), options.table, workspace->Info().maximumCount,
                                 WorkspaceRules(*workspace->Tables()));
    out << "The exported table carries " << CountsText(checker.Count()) << " (kvedit check " << path << " --table "
        << static_cast<int>(options.table) << " lists them)\n";
    return exitSuccess;
}

int RunStats(const QStringList &arguments, QTextStream &out)
{
    QCommandLineParser parser;
    const QCommandLineOption table(QStringLiteral("table"), QStringLiteral("Table version 0 to 3."),
                                   QStringLiteral("n"));
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Print JSON."));
    parser.addOptions({table, json});
    Parse(parser, arguments);
    if (parser.positionalArguments().size() != 1)
        throw UsageError{QStringLiteral("stats expects one workspace file")};
    const TableVersion version = TableOption(parser, table);
    const QString path = parser.positionalArguments().at(0);
    const server::WorkspacePtr workspace = server::Workspace::Open(path);
    StringStates states;
    states.Attach(workspace->Tables(), version, workspace->Set()->MaximumCount());
    const StateCounts &s = states.Counts();
    // Each count includes the ones before it, as the editor's searches find them: a missing
    // translation is also out of date, an out-of-date one also unapproved.
    const struct {
        int total, translated, missing, outOfDate, unapproved;
    } c{s.strings, s.strings - s.missing, s.missing, s.missing + s.outOfDate, s.NeedsWork()};
    const Language language = workspace->Tables()->SourceLanguage(version);
    // The out-of-date translations (missing ones not included) by what changed in the English.
    history::ClassCounts perClass = history::CountChanges(*workspace->Tables(), version, workspace->Set()->MaximumCount());
    QList<QPair<history::ChangeClass, int>> classes;
    for (const history::ChangeClass change : {history::ChangeClass::Text, history::ChangeClass::Punctuation,
                                              history::ChangeClass::Shortcut, history::ChangeClass::Properties,
                                              history::ChangeClass::None, history::ChangeClass::Unknown})
        classes.append({change, perClass[change]});
    if (parser.isSet(json)) {
        QJsonObject o;
        o.insert(QStringLiteral("workspace"), path);
        o.insert(QStringLiteral("table"), static_cast<int>(version));
        o.insert(QStringLiteral("language"), language.Value());
        o.insert(QStringLiteral("total"), c.total);
        o.insert(QStringLiteral("translated"), c.translated);
        o.insert(QStringLiteral("missing"), c.missing);
        o.insert(QStringLiteral("outOfDate"), c.outOfDate);
        o.insert(QStringLiteral("unapproved"), c.unapproved);
        o.insert(QStringLiteral("approved"), s.approved);
        o.insert(QStringLiteral("locallyEdited"), s.localEdits);
        o.insert(QStringLiteral("correctionsPending"), s.pendingCorrections);
        QJsonObject byClass;
        for (const auto &[change, count] : classes)
            byClass.insert(history::Key(change), count);
        o.insert(QStringLiteral("outOfDateByChange"), byClass);
        out << QJsonDocument(o).toJson(QJsonDocument::Indented);
        return exitSuccess;
    }
    const QString source = server::TableSet::FixedSourceName(version);
    out << workspace->Name() << ", table " << static_cast<int>(version) << " (" << source << ", "
        << language.Name() << ")\n";
    const struct {
        const char *label;
        int value;
        const char *remark;
    } rows[] = {
        {"Strings", c.total, ""},
        {"Translated", c.translated, ""},
        {"Missing", c.missing, ""},
        {"Out of date", c.outOfDate, "  (missing ones included)"},
        {"Unapproved", c.unapproved, "  (out-of-date ones included)"},
    };
    const int width = QString::number(c.total).size();
    for (const auto &row : rows)
        out << "  " << QString::fromLatin1(row.label).leftJustified(12) << ' '
            << QString::number(row.value).rightJustified(width) << row.remark << '\n';
    if (perClass.Total() > 0) {
        out << "  Out-of-date translations by their English change:\n";
        for (const auto &[change, count] : std::as_const(classes))
            if (count > 0)
                out << "    " << QString::number(count).rightJustified(width) << "  " << history::Describe(change) << '\n';
    }
    return exitSuccess;
}

// Writes a fresh copy of the demo workspace; an existing file is replaced only with --force.
int RunDemo(const QStringList &arguments, QTextStream &out)
{
    QCommandLineParser parser;
    const QCommandLineOption force(QStringLiteral("force"), QStringLiteral("Replace an existing file."));
    parser.addOption(force);
    Parse(parser, arguments);
    if (parser.positionalArguments().size() != 1)
        throw UsageError{QStringLiteral("demo expects the workspace file to write")};
    const QString path = parser.positionalArguments().at(0);
    if (!parser.isSet(force) && QFileInfo::exists(path))
        throw KvError(errFileAccess, QStringLiteral("%1 exists; add --force to replace it with a fresh demo").arg(path));
    server::CreateDemoWorkspace(path, parser.isSet(force));
    out << "Wrote the demo workspace to " << path << '\n';
    return exitSuccess;
}

// Fills missing translations from the memory: this workspace's own translations, the workspaces
// in the user's settings and those given with --memory. One Save: all or nothing.
int RunPretranslate(const QStringList &arguments, QTextStream &out, QTextStream &err)
{
    QCommandLineParser parser;
    const QCommandLineOption table(QStringLiteral("table"), QStringLiteral("Table version 0 or 1."), QStringLiteral("n"));
    const QCommandLineOption minimum(QStringLiteral("min"), QStringLiteral("Lowest match percentage."), QStringLiteral("n"));
    const QCommandLineOption memoryFile(QStringLiteral("memory"), QStringLiteral("Another workspace to draw on."),
                                        QStringLiteral("file"));
    parser.addOptions({table, minimum, memoryFile});
    Parse(parser, arguments);
    if (parser.positionalArguments().size() != 1)
        throw UsageError{QStringLiteral("pretranslate expects one workspace file")};
    const TableVersion version = TableOption(parser, table);
    if (version != ssLocalEdited && version != ssLocalDefault)
        throw UsageError{QStringLiteral("--table takes 0 or 1 here: only the local tables hold translations"), false};
    int min = memory::kExact;
    if (parser.isSet(minimum)) {
        bool ok = false;
        min = parser.value(minimum).toInt(&ok);
        if (!ok || min < 50 || min > 100)
            throw UsageError{QStringLiteral("--min takes 50 to 100, not \"%1\"").arg(parser.value(minimum)), false};
    }
    const QString path = parser.positionalArguments().at(0);
    const server::WorkspacePtr workspace = server::Workspace::Open(path);
    memory::TranslationMemory memory;
    memory.SetWorkspace(workspace->Tables(), QFileInfo(path).absoluteFilePath(), workspace->Info().maximumCount);
    app::AddUsersMemoryWorkspaces(memory, parser.values(memoryFile), [&err](const QString &warning) {
        err << "kvedit pretranslate: " << warning << " (left out)\n";
    });
    const QList<memory::Filled> filled =
        memory::Pretranslate(memory, workspace->Tables(), version, {}, min, workspace->Info().maximumCount);
    if (!filled.isEmpty())
        workspace->Tables()->Save(version, false);
    for (const memory::Filled &f : filled)
        out << f.id << '\t' << f.percent << " %\t" << QString(f.text).replace(QStringLiteral("\r\n"), QStringLiteral("\\n"))
            << "\t(" << f.origin << ")\n";
    out << "Pre-translated " << filled.size() << (filled.size() == 1 ? " string" : " strings") << " of "
        << server::TableSet::FixedSourceName(version) << " in " << path << " (matches of at least " << min
        << " %, left unapproved)\n";
    return exitSuccess;
}

} // namespace

bool IsCommandLineTool(const char *firstArg)
{
    if (!firstArg)
        return false;
    for (const char *tool : kTools)
        if (std::strcmp(firstArg, tool) == 0)
            return true;
    return false;
}

int RunCommandLine(const QStringList &arguments, QTextStream &out, QTextStream &err, bool interactive)
{
    if (arguments.size() < 2 || !IsCommandLineTool(arguments.at(1).toUtf8().constData())) {
        err << Usage();
        return exitUsage;
    }
    const QString tool = arguments.at(1);
    // The tool's parser sees "kvedit-<tool> args...", so its messages name the tool.
    const QStringList rest = QStringList{QStringLiteral("kvedit ") + tool} + arguments.mid(2);
    if (rest.contains(QStringLiteral("--help")) || rest.contains(QStringLiteral("-h"))) {
        out << Usage();
        return exitSuccess;
    }
    try {
        int code = exitSuccess;
        if (tool == QLatin1String("new"))
            code = RunNew(rest, out);
        else if (tool == QLatin1String("import"))
            code = RunImport(rest, out, err, interactive);
        else if (tool == QLatin1String("export"))
            code = RunExport(rest, out, err, interactive);
        else if (tool == QLatin1String("demo"))
            code = RunDemo(rest, out);
        else if (tool == QLatin1String("check"))
            code = RunCheck(rest, out);
        else if (tool == QLatin1String("pretranslate"))
            code = RunPretranslate(rest, out, err);
        else
            code = RunStats(rest, out);
        out.flush();
        return code;
    } catch (const UsageError &e) {
        err << "kvedit " << tool << ": " << e.message << '\n';
        if (e.withUsage)
            err << '\n' << Usage();
        return exitUsage;
    } catch (const io::FileError &e) {
        for (const io::Diagnostic &d : e.Diagnostics())
            err << d.ToString() << '\n';
        return exitBadInput;
    } catch (const KvError &e) {
        err << "kvedit " << tool << ": " << e.Description() << '\n';
        return exitBadInput;
    } catch (const std::exception &e) {
        err << "kvedit " << tool << ": " << e.what() << '\n';
        return exitBadInput;
    }
}

int RunCommandLineTool(int argc, char **argv)
{
    std::unique_ptr<QCoreApplication> app;
    static int s_argc = 0;
    if (!QCoreApplication::instance()) {
        s_argc = argc;
        app = std::make_unique<QCoreApplication>(s_argc, argv);
    }
    QCoreApplication::setApplicationName(QStringLiteral("kvedit"));
    if (qEnvironmentVariableIsEmpty("QT_LOGGING_RULES"))
        QLoggingCategory::setFilterRules(QStringLiteral("kvedit.*.debug=false\nkvedit.*.info=false"));
    QTextStream out(stdout);
    QTextStream err(stderr);
    const int code = RunCommandLine(QCoreApplication::arguments(), out, err, isatty(fileno(stderr)) != 0);
    out.flush();
    err.flush();
    return code;
}

} // namespace kvedit::cli
