#include "cli/CommandLine.h"

#include "io/CodePages.h"
#include "io/WorkspaceTransfer.h"
#include "model/StandardLocale.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QTextStream>

#include <cstdio>
#include <cstring>
#include <memory>

#include <unistd.h>

namespace kvedit::cli {

namespace {

const char *const kTools[] = {"new", "import", "export", "stats"};

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
        "  kvedit import WORKSPACE FILE [--as english-default|local-default] [-I DIR] [-D NAME[=VALUE]]\n"
        "                               [--header FILE] [--codepage N] [--allow-include-anywhere]\n"
        "  kvedit export WORKSPACE FILE [--table 0..3]\n"
        "  kvedit stats WORKSPACE [--table 0..3] [--json]\n"
        "FILE is a resource script (.rc) or an XLIFF 1.2 file (.xlf, .xliff). Tables: 0 Local Edited (the\n"
        "default), 1 Local Default, 2 English Edited, 3 English Default. An import goes by the file's\n"
        "language unless --as says otherwise.\n");
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
    const QCommandLineOption anywhere(QStringLiteral("allow-include-anywhere"),
                                      QStringLiteral("Let #include read files outside the script's, -I and header folders."));
    parser.addOptions({as, include, define, header, codePage, anywhere});
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
        else
            throw UsageError{QStringLiteral("--as takes english-default or local-default, not \"%1\"").arg(value)};
    }
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
    ProgressLine progress(err, interactive, QStringLiteral("Importing"));
    options.progress = progress.Callback();
    const io::ImportSummary summary = io::ImportFile(*workspace, file, options);
    progress.Clear();
    PrintNotes(err, summary.notes);
    out << "Imported " << file << " into " << server::TableSet::FixedSourceName(summary.source) << ": "
        << summary.added << " added, " << summary.changed << " changed, " << summary.unchanged << " unchanged";
    if (summary.skipped)
        out << ", " << summary.skipped << " not imported";
    out << '\n';
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
    out << "Exported " << summary.strings << " strings of "
        << server::TableSet::FixedSourceName(options.table) << " to " << file << '\n';
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
    const io::StringCounts c = io::CountStrings(*workspace, version);
    const Language language = workspace->Tables()->SourceLanguage(version);
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
