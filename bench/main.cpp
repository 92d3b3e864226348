// kvedit_bench: how the editor feels on large string tables. Builds synthetic workspaces of
// 1000, 8000 and 32767 strings and times opening, listing, showing, paging, searching, editing
// and saving, each as the median of repeated runs in this process; prints one table and writes
// the same as JSON. --growth shows how each figure grows with the number of strings.

#include "BenchResults.h"
#include "Measurements.h"
#include "SyntheticWorkspace.h"

#include "services/ErrorContext.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QElapsedTimer>
#include <QSysInfo>
#include <QLibraryInfo>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

// The offscreen platform with a 1600 x 1000 screen at 96 dpi, so the editor opens at
// 1280 x 800 and every run, here and in the child processes, draws the same number of rows.
QString WriteScreenConfig(const QString &dir)
{
    const QString path = QDir(dir).filePath(QStringLiteral("screen.json"));
    QFile f(path);
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        f.write(R"({"synchronousWindowSystemEvents": false, "windowFrameMargins": false,
"screens": [{"name": "bench", "x": 0, "y": 0, "width": 1600, "height": 1000, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})");
    return path;
}

// The offscreen platform warns about every window it cannot size by hints; nothing to act on.
void QuietMessages(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (message.contains(QLatin1String("propagateSizeHints")))
        return;
    std::fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, context, message)));
}

void Print(const QString &text)
{
    std::fputs(qPrintable(text), stdout);
    std::fflush(stdout);
}

std::optional<kvedit::bench::Results> Load(const QString &path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "kvedit_bench: cannot read %s\n", qPrintable(path));
        return std::nullopt;
    }
    QString error;
    auto results = kvedit::bench::Results::FromJson(f.readAll(), &error);
    if (!results)
        std::fprintf(stderr, "kvedit_bench: %s: %s\n", qPrintable(path), qPrintable(error));
    return results;
}

} // namespace

int main(int argc, char **argv)
{
    using namespace kvedit::bench;
    qInstallMessageHandler(QuietMessages);
    QLoggingCategory::setFilterRules(QStringLiteral("kvedit.*.debug=false\nkvedit.*.info=false"));

    // The child side of the memory figure runs before anything else is set up.
    if (argc == 3 && std::strcmp(argv[1], "--memory-probe") == 0) {
        QApplication app(argc, argv);
        return RunMemoryProbe(QString::fromLocal8Bit(argv[2]));
    }
    if (argc == 5 && std::strcmp(argv[1], "--transfer-probe") == 0) {
        QCoreApplication app(argc, argv);
        return RunTransferProbe(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]),
                                QString::fromLocal8Bit(argv[4]));
    }

    // A synthetic workspace left on disk, to profile the program on: --make-workspace FILE N.
    if (argc == 4 && std::strcmp(argv[1], "--make-workspace") == 0) {
        QCoreApplication app(argc, argv);
        const int strings = QByteArray(argv[3]).toInt();
        if (strings < 1 || strings > 32767) {
            std::fprintf(stderr, "kvedit_bench: sizes are 1 to 32767, not '%s'\n", argv[3]);
            return 2;
        }
        try {
            CreateSyntheticWorkspace(QString::fromLocal8Bit(argv[2]), strings, TranslationState::InProgress);
        } catch (const kvedit::KvError &e) {
            std::fprintf(stderr, "kvedit_bench: %s\n", qPrintable(e.Description()));
            return 1;
        }
        return 0;
    }

    QTemporaryDir scratch;
    if (!scratch.isValid()) {
        std::fprintf(stderr, "kvedit_bench: cannot create a temporary folder\n");
        return 1;
    }
    const QString screenConfig = WriteScreenConfig(scratch.path());
    qputenv("QT_QPA_PLATFORM", QByteArray("offscreen:configfile=") + QFile::encodeName(screenConfig));
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("kvedit_bench"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Times the editor on synthetic workspaces and prints operation, size, median, min and max."));
    parser.addHelpOption();
    const QCommandLineOption sizesOption(QStringLiteral("sizes"),
                                         QStringLiteral("Workspace sizes in strings (default 1000,8000,32767; with "
                                                        "--growth 1000,4000,8000,16000,32767)."),
                                         QStringLiteral("N,N,..."));
    const QCommandLineOption repeatOption(QStringLiteral("repeat"), QStringLiteral("Runs of every cheap operation."),
                                          QStringLiteral("N"), QStringLiteral("7"));
    const QCommandLineOption heavyOption(QStringLiteral("heavy-repeat"),
                                         QStringLiteral("Runs of paging, editing every string and the memory probe."),
                                         QStringLiteral("N"), QStringLiteral("3"));
    const QCommandLineOption quickOption(QStringLiteral("quick"), QStringLiteral("Three runs and one heavy run of everything."));
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Write the results as JSON to FILE."),
                                        QStringLiteral("FILE"));
    const QCommandLineOption fromOption(QStringLiteral("from"), QStringLiteral("Measure nothing: read the results from FILE."),
                                        QStringLiteral("FILE"));
    const QCommandLineOption compareOption(QStringLiteral("compare"),
                                           QStringLiteral("Set the results beside an earlier run's JSON FILE."),
                                           QStringLiteral("FILE"));
    const QCommandLineOption growthOption(QStringLiteral("growth"),
                                          QStringLiteral("Show how each figure grows from the smallest to the largest size."));
    const QCommandLineOption programOption(QStringLiteral("kvedit"), QStringLiteral("The kvedit program to time."),
                                           QStringLiteral("PATH"), QStringLiteral(KVEDIT_PROGRAM));
    const QCommandLineOption workOption(QStringLiteral("work-dir"),
                                        QStringLiteral("Where the workspaces are written (default: a temporary folder)."),
                                        QStringLiteral("DIR"));
    const QCommandLineOption onlyOption(QStringLiteral("only"),
                                        QStringLiteral("Run only these groups (memory, program, open, refresh, editor, page, "
                                                       "find, workflow, checks, quality, tm, edit-one, edit-all, io), for profiling."),
                                        QStringLiteral("GROUP,..."));
    parser.addOptions({onlyOption, sizesOption, repeatOption, heavyOption, quickOption, jsonOption, fromOption, compareOption,
                       growthOption, programOption, workOption});
    parser.process(app);

    Results results;
    if (parser.isSet(fromOption)) {
        std::optional<Results> loaded = Load(parser.value(fromOption));
        if (!loaded)
            return 1;
        results = *loaded;
    } else {
        Options options;
        options.sizes.clear();
        // Growth is read from the step between the two largest sizes, so it gets more of them.
        const QString sizes = parser.isSet(sizesOption) ? parser.value(sizesOption)
                              : parser.isSet(growthOption) ? QStringLiteral("1000,4000,8000,16000,32767")
                                                           : QStringLiteral("1000,8000,32767");
        for (const QString &s : sizes.split(u',', Qt::SkipEmptyParts)) {
            bool ok = false;
            const int n = s.trimmed().toInt(&ok);
            if (!ok || n < 1 || n > 32767) {
                std::fprintf(stderr, "kvedit_bench: sizes are 1 to 32767, not '%s'\n", qPrintable(s));
                return 2;
            }
            options.sizes.append(n);
        }
        options.repeats = qMax(1, parser.value(repeatOption).toInt());
        options.heavyRepeats = qMax(1, parser.value(heavyOption).toInt());
        if (parser.isSet(quickOption)) {
            options.repeats = 3;
            options.heavyRepeats = 1;
        }
        options.program = parser.value(programOption);
        if (!QFileInfo(options.program).isExecutable()) {
            std::fprintf(stderr, "kvedit_bench: no kvedit program at %s; its figures are left out\n", qPrintable(options.program));
            options.program.clear();
        }
        options.labelProgram = QStringLiteral(KVEDIT_LABEL_PROGRAM);
        if (!QFileInfo(options.labelProgram).isExecutable()) {
            std::fprintf(stderr, "kvedit_bench: no label window at %s; the start has no control\n", qPrintable(options.labelProgram));
            options.labelProgram.clear();
        }
        options.only = parser.value(onlyOption).split(u',', Qt::SkipEmptyParts);
        options.self = QCoreApplication::applicationFilePath();
        options.workDir = parser.isSet(workOption) ? parser.value(workOption) : scratch.path();
        QDir().mkpath(options.workDir);
        options.screenConfig = screenConfig;

        results.info.date = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
        results.info.host = QSysInfo::machineHostName();
        results.info.cores = QThread::idealThreadCount();
        results.info.qtVersion = QString::fromLatin1(qVersion());
        results.info.buildType = QStringLiteral(KVEDIT_BUILD_TYPE);
        results.info.platform = QGuiApplication::platformName();
        results.info.repeats = options.repeats;
        results.info.sizes = options.sizes;

        results.info.loadBefore = LoadAverage();
        QElapsedTimer total;
        total.start();
        for (const int size : options.sizes) {
            std::fprintf(stderr, "%d strings\n", size);
            results.info.loadHighest = std::max(results.info.loadHighest, LoadAverage());
            MeasureSize(options, size, results);
            results.info.loadHighest = std::max(results.info.loadHighest, LoadAverage());
        }
        std::fprintf(stderr, "measured in %.1f s\n", total.elapsed() / 1000.0);
        results.info.loadAfter = LoadAverage();
        AttachTargets(results);
    }

    Print(QStringLiteral("\nkvedit benchmarks, %1 (%2 cores, Qt %3, %4 build, %5 platform; load average %6 before, "
                         "%7 after, %8 at the highest)\n\n")
              .arg(results.info.date).arg(results.info.cores).arg(results.info.qtVersion, results.info.buildType,
                                                                    results.info.platform)
              .arg(results.info.loadBefore, 0, 'f', 2).arg(results.info.loadAfter, 0, 'f', 2)
              .arg(results.info.loadHighest, 0, 'f', 2));
    Print(results.Table());

    if (parser.isSet(growthOption)) {
        Print(QStringLiteral("\nGrowth with the number of strings\n\n"));
        Print(results.GrowthTable());
    }

    if (parser.isSet(compareOption)) {
        if (const std::optional<Results> before = Load(parser.value(compareOption))) {
            Print(QStringLiteral("\nCompared with %1\n\n").arg(parser.value(compareOption)));
            Print(results.Comparison(*before));
        }
    }

    if (parser.isSet(jsonOption) && !parser.isSet(fromOption)) {
        const QString path = parser.value(jsonOption);
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) || f.write(results.ToJson()) < 0) {
            std::fprintf(stderr, "kvedit_bench: cannot write %s\n", qPrintable(path));
            return 1;
        }
        Print(QStringLiteral("\nwrote %1\n").arg(QDir::toNativeSeparators(path)));
    }
    return 0;
}
