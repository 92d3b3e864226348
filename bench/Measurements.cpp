#include "Measurements.h"

#include "checks/TableChecker.h"

#include "SyntheticWorkspace.h"

#include "dataview/UCKvDataView.h"
#include "editor/frmEdit.h"
#include "entry/CGlobals.h"
#include "listsource/CDVDataSource.h"
#include "memory/TranslationMemory.h"
#include "server/Workspace.h"
#include "services/Services.h"

#ifdef KVEDIT_BENCH_HAVE_IO
#include "io/WorkspaceTransfer.h"
#endif

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QScopeGuard>
#include <QFile>
#include <QFileInfo>
#include <QAbstractTableModel>
#include <QHeaderView>
#include <QScrollBar>
#include <QTableView>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace kvedit::bench {

namespace {

// The table version the editor is timed on: the one kvedit opens by default, which lists every
// string with its local edit, else its local default.
constexpr TableVersion kVersion = ssLocalEdited;

double Ms(const QElapsedTimer &t) { return static_cast<double>(t.nsecsElapsed()) / 1e6; }

void Progress(const QString &text)
{
    std::fprintf(stderr, "  %s\n", qPrintable(text));
    std::fflush(stderr);
}

// Answers the editor's boxes: every input box with a fixed text, every confirmation with OK;
// notices are kept so that a search can be checked to have passed every row.
class ScriptedPrompts final : public UserPrompts {
public:
    QString inputAnswer;
    QStringList notices;

    bool Confirm(QWidget *, const QString &) override { return true; }
    void Notify(QWidget *, const QString &text) override { notices.append(text); }
    QString Input(QWidget *, const QString &, const QString &, const QString &, const QPoint &) override
    {
        return inputAnswer;
    }
    void Beep() override {}
};

std::shared_ptr<ScriptedPrompts> InstallPrompts()
{
    auto prompts = std::make_shared<ScriptedPrompts>();
    Services().prompts = prompts;
    return prompts;
}

// Watches for the first paint of a resource list whose rows are loaded, in any window, and
// calls back once that paint has reached the screen (the next turn of the event loop).
class ListPaintWatcher final : public QObject {
public:
    explicit ListPaintWatcher(std::function<void(QWidget *window)> painted) : m_painted(std::move(painted))
    {
        qApp->installEventFilter(this);
    }
    ~ListPaintWatcher() override { qApp->removeEventFilter(this); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (m_fired || event->type() != QEvent::Paint || !watched->isWidgetType())
            return false;
        auto *viewport = static_cast<QWidget *>(watched);
        QWidget *view = viewport->parentWidget();
        auto *list = view ? qobject_cast<UCKvDataView *>(view->parentWidget()) : nullptr;
        if (!list || list->TableView()->viewport() != viewport || !list->Activated())
            return false;
        m_fired = true;
        QWidget *window = viewport->window();
        QTimer::singleShot(0, window, [this, window] { m_painted(window); });
        return false;
    }

private:
    std::function<void(QWidget *)> m_painted;
    bool m_fired = false;
};

// The fixed work the in-process rows are set against: the same 32 Ki pseudo-random words
// copied, sorted and summed every time (memory and branches, as the editor's passes are), about
// a millisecond on the build machine. Its cost never changes with kvedit's code, only with the
// machine and what else runs on it.
const QString kCpuControl = QStringLiteral("in-process rows: the same 32 Ki words copied, sorted and summed");

double ReferenceWork()
{
    static const std::vector<quint32> words = [] {
        std::vector<quint32> w(32 * 1024);
        quint32 x = 12345;
        for (quint32 &v : w)
            v = x = x * 1664525u + 1013904223u;
        return w;
    }();
    QElapsedTimer t;
    t.start();
    std::vector<quint32> v = words;
    std::sort(v.begin(), v.end());
    const quint64 sum = std::accumulate(v.begin(), v.end(), quint64(0));
    const double ms = Ms(t);
    // The sum is used, so that the work cannot be left out.
    return sum == 0 ? ms + 1e-9 : ms;
}

// One sample of a timed row, and the control run right after it, in the row's unit.
void Sample(Series &series, double value)
{
    series.samples.push_back(value);
    const double control = ReferenceWork();
    series.control.push_back(series.unit == QStringLiteral("µs") ? control * 1000 : control);
    series.controlName = kCpuControl;
}

// The slowest frame but the hundredth part: what a user notices as a stutter.
double Percentile99(std::vector<double> frames)
{
    if (frames.empty())
        return 0;
    std::sort(frames.begin(), frames.end());
    const size_t rank = static_cast<size_t>(std::ceil(frames.size() * 0.99));
    return frames[std::clamp<size_t>(rank, 1, frames.size()) - 1];
}

// The control of paging: a plain table of as many rows, four short texts each, in a window of
// the editor's size, paged the same way.
class ControlListModel final : public QAbstractTableModel {
public:
    explicit ControlListModel(int rows) : m_rows(rows) {}
    int rowCount(const QModelIndex &parent = {}) const override { return parent.isValid() ? 0 : m_rows; }
    int columnCount(const QModelIndex &parent = {}) const override { return parent.isValid() ? 0 : 4; }
    QVariant data(const QModelIndex &index, int role) const override
    {
        if (role != Qt::DisplayRole)
            return {};
        return QStringLiteral("Row %1, column %2 of the control list").arg(index.row() + 1).arg(index.column() + 1);
    }

private:
    int m_rows;
};

struct ControlPaging {
    double all = 0, slowest = 0, p99 = 0;
};

ControlPaging PageThroughControl(QTableView &view)
{
    QScrollBar *bar = view.verticalScrollBar();
    const int rows = view.model()->rowCount();
    const int page = qMax(1, view.viewport()->height() / qMax(1, view.verticalHeader()->defaultSectionSize()));
    bar->setValue(0);
    view.setCurrentIndex(view.model()->index(0, 0));
    view.viewport()->repaint();
    QApplication::processEvents();
    QElapsedTimer all;
    all.start();
    std::vector<double> frames;
    for (int top = page; top < rows; top += page) {
        QElapsedTimer t;
        t.start();
        bar->setValue(top);
        view.setCurrentIndex(view.model()->index(top, 0));
        view.viewport()->repaint();
        QApplication::processEvents();
        frames.push_back(Ms(t));
    }
    ControlPaging result;
    result.all = Ms(all);
    result.slowest = frames.empty() ? 0.0 : *std::max_element(frames.begin(), frames.end());
    result.p99 = Percentile99(frames);
    return result;
}

void Settle()
{
    for (int i = 0; i < 3; ++i)
        QApplication::processEvents();
}

// A shown editor window on the workspace with its list loaded and painted, as after opening.
std::unique_ptr<frmEdit> ShowEditor(const ResourceWorkspacePtr &workspace, TableVersion version)
{
    auto form = std::make_unique<frmEdit>();
    form->Prepare(workspace, version);
    form->show();
    Settle();
    form->Form_Activate();
    Settle();
    return form;
}

// Scrolls the list page by page from the top to the bottom, each page made current and painted
// before the next; returns the time of every frame.
std::vector<double> PageThrough(frmEdit &form)
{
    UCKvDataView *list = form.DataView();
    QTableView *view = list->TableView();
    QScrollBar *bar = view->verticalScrollBar();
    const int rows = view->model()->rowCount();
    const int page = list->VisibleRows();
    bar->setValue(0);
    list->setCurrentRecord(1);
    view->viewport()->repaint();
    QApplication::processEvents();

    std::vector<double> frames;
    for (int top = page; top < rows; top += page) {
        QElapsedTimer t;
        t.start();
        bar->setValue(top);
        list->setCurrentRecord(top + 1);
        view->viewport()->repaint();
        QApplication::processEvents();   // the status bar, the scroll bar, the flush
        frames.push_back(Ms(t));
    }
    return frames;
}

StringEntryPtr Edited(const StringEntryPtr &entry, const QString &text)
{
    return entry->CreateEdited(entry->Id(), text, entry->EntryText(), entry->Property(tpMultipleLines),
                               entry->Property(tpAllowTab), entry->Property(tpAllowShortcut), entry->ShortcutCharacter(),
                               entry->ShortcutMode(), entry->ParameterDefinitions(), true);
}

// Stores an edit of every listed string in the table version through the table set, as a bulk
// change does (the editor's own command refreshes the whole list after each single edit).
void StoreEveryString(frmEdit &form, TableVersion version, int round)
{
    const StringTableSetPtr tables = form.DataSource()->Tables();
    CStringList &list = form.DataSource()->StringList();
    const QString mark = QStringLiteral(" [%1]").arg(round);
    for (int row = 1; row <= list.Count(); ++row) {
        const auto id = static_cast<StringId>(list.Value(row));
        const StringEntryPtr entry = tables->Entry(id, version);
        tables->StoreEntry(Edited(entry, tables->Text(id, ssEnglishDefault) + mark));
    }
}

// A program run as a user starts it, timed from the spawn to the first output line that holds
// the marker (kvedit's report of its window shown).
struct ChildRun {
    bool ok = false;
    double markerMs = 0;
    int exitCode = -1;
    QByteArray output;
};

ChildRun RunChild(const QString &program, const QStringList &arguments, const QList<QByteArray> &environment,
                  const QByteArray &marker, int timeoutMs)
{
    ChildRun run;
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0)
        return run;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
    posix_spawn_file_actions_adddup2(&actions, fds[1], 2);

    const QByteArray path = QFile::encodeName(program);
    QList<QByteArray> args{path};
    for (const QString &a : arguments)
        args.append(a.toLocal8Bit());
    std::vector<char *> argv;
    for (QByteArray &a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    QList<QByteArray> env;
    for (char **e = environ; *e; ++e) {
        const QByteArray entry(*e);
        const QByteArray name = entry.left(entry.indexOf('=') + 1);
        bool replaced = false;
        for (const QByteArray &o : environment)
            replaced = replaced || o.startsWith(name);
        if (!replaced)
            env.append(entry);
    }
    env.append(environment);
    std::vector<char *> envp;
    for (QByteArray &e : env)
        envp.push_back(e.data());
    envp.push_back(nullptr);

    QElapsedTimer t;
    t.start();
    pid_t pid = 0;
    const int rc = posix_spawn(&pid, path.constData(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(fds[1]);
    if (rc != 0) {
        close(fds[0]);
        run.output = QByteArray("cannot start ") + path + ": " + std::strerror(rc);
        return run;
    }

    bool seen = false;
    for (;;) {
        pollfd p{fds[0], POLLIN, 0};
        const int left = timeoutMs - static_cast<int>(t.elapsed());
        const int ready = left > 0 ? poll(&p, 1, left) : 0;
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0) {
            kill(pid, SIGKILL);
            run.output += "\n(timed out)";
            break;
        }
        char buffer[4096];
        const ssize_t n = read(fds[0], buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        run.output.append(buffer, n);
        if (!seen && run.output.contains(marker)) {
            seen = true;
            run.markerMs = Ms(t);
        }
    }
    close(fds[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.ok = seen && run.exitCode == 0;
    return run;
}

QList<QByteArray> ChildEnvironment(const Options &options)
{
    return {QByteArray("QT_QPA_PLATFORM=offscreen:configfile=") + QFile::encodeName(options.screenConfig),
            QByteArray("KVEDIT_EXIT_WHEN_SHOWN=1"), QByteArray("QT_LOGGING_RULES=kvedit.*.debug=false;kvedit.*.info=false"),
            // The program opens the translation memory: one of the run's own, not the user's.
            QByteArray("KVEDIT_MEMORY_INDEX=") + QFile::encodeName(QDir(options.workDir).filePath(QStringLiteral("memory.sqlite")))};
}

void Check(bool ok, const QString &what)
{
    if (!ok)
        Progress(QStringLiteral("WARNING: %1").arg(what));
}

} // namespace

void AttachTargets(Results &results)
{
    const struct {
        const QString &operation;
        double limit;
        double ratioLimit = 0;
        int atStrings = kMaxStringId;
    } targets[] = {
        {op::Open, 100},
        {op::EditToPaint, 150},
        {op::ProgramToShown, 200, 2.0},
        {op::ProgramToShown, 0, 1.3, 1000},
        {op::Find, 20},
        {op::FindMissing, 5},
        {op::FindOutOfDate, 5},
        {op::FindUnapproved, 5},
        {op::StoreSaveOne, 10},
        {op::StoreOne, 10},
        {op::CountStates, 3},
        {op::FilterText, 15},
        {op::FilterState, 15},
        {op::SaveAll, 500},
        {op::PageFrame, 16},
        {op::PageFrameP99, 16, 2.0},
        {op::MemorySession, 50},
        {op::XliffSize, 10},
        {op::MemoryXliffImport, 80},
        {op::QualityTable, 30},
        {op::QualityOne, 200},
        {op::MemoryLookup, 20},
    };
    for (const auto &t : targets)
        if (Series *s = const_cast<Series *>(results.Find(t.operation, t.atStrings)))
            s->target = Target{t.limit, t.atStrings, t.ratioLimit};
}

void MeasureSize(const Options &options, int strings, Results &results)
{
    const int repeats = options.repeats;
    const int heavy = options.heavyRepeats;
    const QString path = QDir(options.workDir).filePath(QStringLiteral("synthetic-%1.kvw").arg(strings));
    const QString finishedPath = QDir(options.workDir).filePath(QStringLiteral("finished-%1.kvw").arg(strings));
    // Declared before the workspaces below, so it runs after they are closed: SQLite's -wal and
    // -shm files go with each file (removed while open, they stayed behind).
    const auto removeFiles = qScopeGuard([&] {
        for (const QString &file : {path, finishedPath})
            for (const char *suffix : {"", "-wal", "-shm"})
                QFile::remove(file + QLatin1String(suffix));
    });

    QElapsedTimer made;
    made.start();
    const WorkspaceCounts c = CreateSyntheticWorkspace(path, strings, TranslationState::InProgress);
    CreateSyntheticWorkspace(finishedPath, strings, TranslationState::Finished);
    Progress(QStringLiteral("%1 strings, %2 records (%3 missing, %4 out of date, %5 unapproved, %6 local edits, "
                            "%7 English edits; %8 multi-line; average %9 characters, longest %10), %11 KB; made in %12 ms")
                 .arg(c.strings).arg(c.records).arg(c.missing).arg(c.outOfDate).arg(c.unapproved).arg(c.localEdits)
                 .arg(c.englishEdits).arg(c.multiLine).arg(c.averageLength, 0, 'f', 0).arg(c.longest)
                 .arg(QFileInfo(path).size() / 1024).arg(made.elapsed()));

    // Peak memory of a whole editor session, in a process of its own on a copy of the file.
    if (options.Wants(QStringLiteral("memory"))) {
        const QString copy = path + QStringLiteral(".probe");
        Series &memory = results.At(op::MemorySession, strings, QStringLiteral("MB"));
        memory.note = QStringLiteral("a fresh process: open, list shown, paged through, Find, one edit saved, every string edited and saved");
        for (int i = 0; i < heavy; ++i) {
            QFile::remove(copy);
            QFile::copy(path, copy);
            const ChildRun run = RunChild(options.self, {QStringLiteral("--memory-probe"), copy}, ChildEnvironment(options),
                                          QByteArray("probe done"), 120000);
            // The probe reports its own peak: the kernel's figure for a child also counts the
            // pages of this process at the fork.
            const QByteArray output = run.output.mid(run.output.indexOf("probe done:") + 11).trimmed();
            const double peak = output.left(output.indexOf(' ')).toDouble();
            Check(run.ok && peak > 0, QStringLiteral("memory probe failed: %1").arg(QString::fromLocal8Bit(run.output)));
            if (run.ok && peak > 0)
                memory.samples.push_back(peak);
        }
        QFile::remove(copy);
        Progress(QStringLiteral("%1: %2 MB").arg(op::MemorySession).arg(memory.Median(), 0, 'f', 1));
    }

    // The program, from the spawn to its window shown with the list painted.
    if (!options.program.isEmpty() && options.Wants(QStringLiteral("program"))) {
        Series &shown = results.At(op::ProgramToShown, strings);
        shown.controlName = QStringLiteral("program start: a Qt window with one label, from the spawn to its first paint");
        for (int i = 0; i < repeats; ++i) {
            if (!options.labelProgram.isEmpty()) {
                const ChildRun label = RunChild(options.labelProgram, {}, ChildEnvironment(options), QByteArray("shown after"), 30000);
                Check(label.ok, QStringLiteral("the label window did not report its paint: %1").arg(QString::fromLocal8Bit(label.output)));
                if (label.ok)
                    shown.control.push_back(label.markerMs);
            }
            const ChildRun run = RunChild(options.program, {path, QStringLiteral("--table"), QString::number(kVersion)}, ChildEnvironment(options), QByteArray("shown after"), 30000);
            if (!run.ok) {
                Check(false, QStringLiteral("kvedit did not report its window shown (exit %1): %2")
                                 .arg(run.exitCode).arg(QString::fromLocal8Bit(run.output.trimmed())));
                break;
            }
            shown.samples.push_back(run.markerMs);
        }
        Progress(QStringLiteral("%1: %2 ms, the label window %3 ms").arg(op::ProgramToShown).arg(shown.Median(), 0, 'f', 1)
                     .arg(shown.ControlMedian(), 0, 'f', 1));
    }

    // Opening the file until its tables can be queried.
    if (options.Wants(QStringLiteral("open"))) {
        Series &open = results.At(op::Open, strings);
        for (int i = 0; i < repeats; ++i) {
            QElapsedTimer t;
            t.start();
            server::WorkspacePtr w = server::Workspace::Open(path);
            const bool ready = w->Tables()->HasText(static_cast<StringId>(SyntheticId(0, strings)), ssEnglishDefault);
            Sample(open, Ms(t));
            Check(ready, QStringLiteral("the opened workspace has no first string"));
        }
        Progress(QStringLiteral("%1: %2 ms").arg(op::Open).arg(open.Median(), 0, 'f', 2));
    }

    const server::WorkspacePtr workspace = server::Workspace::Open(path);
    const ResourceWorkspacePtr rfw = workspace;

    if (options.Wants(QStringLiteral("refresh"))) {
        Series &refresh = results.At(op::Refresh, strings);
        CDVDataSource source;
        source.setWorkspace(rfw);
        source.setTableVersion(kVersion);
        for (int i = 0; i < repeats; ++i) {
            QElapsedTimer t;
            t.start();
            source.RefreshStringList();
            Sample(refresh, Ms(t));
        }
        Check(source.GetRecordCount() == strings,
              QStringLiteral("the list holds %1 rows, not %2").arg(source.GetRecordCount()).arg(strings));
        Progress(QStringLiteral("%1: %2 ms").arg(op::Refresh).arg(refresh.Median(), 0, 'f', 2));
    }

    // The public entry, from the call to the first paint of the list with its rows.
    if (options.Wants(QStringLiteral("editor"))) {
        Series &edit = results.At(op::EditToPaint, strings);
        for (int i = 0; i < repeats; ++i) {
            QElapsedTimer t;
            double painted = -1;
            ListPaintWatcher watcher([&](QWidget *window) {
                painted = Ms(t);
                window->close();
            });
            QTimer guard;
            guard.setSingleShot(true);
            QObject::connect(&guard, &QTimer::timeout, [] {
                for (QWidget *w : QApplication::topLevelWidgets())
                    if (qobject_cast<frmEdit *>(w))
                        w->close();
            });
            guard.start(20000);
            ResourceWorkspacePtr host = rfw;
            t.start();
            CGlobals().EditStringResources(host, kVersion);
            guard.stop();
            if (painted < 0) {
                Check(false, QStringLiteral("EditStringResources never painted its list"));
                break;
            }
            Sample(edit, painted);
        }
        Progress(QStringLiteral("%1: %2 ms").arg(op::EditToPaint).arg(edit.Median(), 0, 'f', 1));
    }

    const std::shared_ptr<ScriptedPrompts> prompts = InstallPrompts();
    std::unique_ptr<frmEdit> form = ShowEditor(rfw, kVersion);
    Check(form->DataView()->TableView()->model()->rowCount() == strings, QStringLiteral("the editor lists the wrong rows"));

    if (options.Wants(QStringLiteral("page"))) {
        Series &all = results.At(op::PageAll, strings);
        Series &slowest = results.At(op::PageFrame, strings);
        Series &p99 = results.At(op::PageFrameP99, strings);
        all.note = QStringLiteral("scroll one page, make its first row current, paint; %1 rows a page")
                       .arg(form->DataView()->VisibleRows());
        ControlListModel model(strings);
        QTableView control;
        control.setModel(&model);
        control.resize(form->size());
        control.show();
        Settle();
        for (Series *s : {&all, &slowest, &p99})
            s->controlName = QStringLiteral("paging: a plain table of as many rows, four short texts a row, paged the same way");
        for (int i = 0; i < heavy; ++i) {
            const ControlPaging reference = PageThroughControl(control);
            QElapsedTimer t;
            t.start();
            const std::vector<double> frames = PageThrough(*form);
            all.samples.push_back(Ms(t));
            slowest.samples.push_back(frames.empty() ? 0.0 : *std::max_element(frames.begin(), frames.end()));
            p99.samples.push_back(Percentile99(frames));
            all.control.push_back(reference.all);
            slowest.control.push_back(reference.slowest);
            p99.control.push_back(reference.p99);
        }
        control.hide();
        Progress(QStringLiteral("%1: %2 ms, slowest frame %3 ms, p99 %4 ms (control p99 %5 ms)")
                     .arg(op::PageAll).arg(all.Median(), 0, 'f', 1).arg(slowest.Median(), 0, 'f', 2)
                     .arg(p99.Median(), 0, 'f', 2).arg(p99.ControlMedian(), 0, 'f', 2));
    }

    // Find over every row: the current row is the first, so the pass ends on it after the rest.
    if (options.Wants(QStringLiteral("find"))) {
        Series &find = results.At(op::Find, strings);
        prompts->inputAnswer = UnmatchedSearchText();
        for (int i = 0; i < repeats; ++i) {
            form->DataView()->setCurrentRecord(1);
            prompts->notices.clear();
            QElapsedTimer t;
            t.start();
            form->ProcessEditMenuFindText();
            Sample(find, Ms(t));
            Check(prompts->notices == QStringList{QStringLiteral("Done finding text")},
                  QStringLiteral("Find did not pass every row: %1").arg(prompts->notices.join(u'|')));
        }
        Progress(QStringLiteral("%1: %2 ms").arg(op::Find).arg(find.Median(), 0, 'f', 2));
    }

    // The states of every string counted again, and one pass of the list's filter: by a text
    // few rows hold (every text of every row is looked at) and by a state.
    if (options.Wants(QStringLiteral("workflow"))) {
        CDVDataSource *source = form->DataSource();
        Series &count = results.At(op::CountStates, strings);
        count.note = QStringLiteral("one pass over the table: missing, out of date, unapproved, approved, local edits");
        Series &byText = results.At(op::FilterText, strings);
        byText.note = QStringLiteral("the list filled and every row's id, symbol, texts and description searched");
        Series &byState = results.At(op::FilterState, strings);
        byState.note = QStringLiteral("the list filled and kept to the strings that need work");
        for (int i = 0; i < repeats; ++i) {
            QElapsedTimer t;
            t.start();
            source->States().Recount();
            Sample(count, Ms(t));
            source->setFilter({UnmatchedSearchText(), StateFilter::All});
            t.restart();
            source->RefreshStringList();
            Sample(byText, Ms(t));
            Check(source->GetRecordCount() == 0, QStringLiteral("the filter by text let rows through"));
            source->setFilter({QString(), StateFilter::NeedsWork});
            t.restart();
            source->RefreshStringList();
            Sample(byState, Ms(t));
            Check(source->GetRecordCount() == source->States().Counts().NeedsWork(),
                  QStringLiteral("the filter by state shows %1 rows").arg(source->GetRecordCount()));
        }
        source->setFilter({});
        source->RefreshStringList();
        form->DataView()->Refresh();
        Progress(QStringLiteral("%1: %2 ms; filter by text %3 ms, by state %4 ms")
                     .arg(op::CountStates).arg(count.Median(), 0, 'f', 2).arg(byText.Median(), 0, 'f', 2)
                     .arg(byState.Median(), 0, 'f', 2));
    }

    // The translation checks, on a finished translation where no row qualifies.
    if (options.Wants(QStringLiteral("checks"))) {
        const ResourceWorkspacePtr finished = server::Workspace::Open(finishedPath);
        const std::unique_ptr<frmEdit> checked = ShowEditor(finished, kVersion);
        const struct {
            const QString &operation;
            void (frmEdit::*command)();
            QString done;
        } checks[] = {
            {op::FindMissing, &frmEdit::ProcessEditMenuFindMissingTranslation, QStringLiteral("Done finding missing translations")},
            {op::FindOutOfDate, &frmEdit::ProcessEditMenuFindOutOfDateTranslation, QStringLiteral("Done finding out of date translations")},
            {op::FindUnapproved, &frmEdit::ProcessEditMenuFindUnapprovedTranslation, QStringLiteral("Done finding unapproved translations")},
        };
        for (const auto &check : checks) {
            Series &s = results.At(check.operation, strings);
            s.note = QStringLiteral("a finished translation of the same size, so the pass tests every row");
            for (int i = 0; i < repeats; ++i) {
                checked->DataView()->setCurrentRecord(1);
                prompts->notices.clear();
                QElapsedTimer t;
                t.start();
                (checked.get()->*check.command)();
                Sample(s, Ms(t));
                Check(prompts->notices == QStringList{check.done},
                      QStringLiteral("%1 did not pass every row: %2").arg(check.operation, prompts->notices.join(u'|')));
            }
            Progress(QStringLiteral("%1: %2 ms").arg(check.operation).arg(s.Median(), 0, 'f', 2));
        }
    }

    // The quality checks on a finished translation, so that every string is checked: the whole
    // table from an empty cache, and the translate dialog's check of the text being typed.
    if (options.Wants(QStringLiteral("quality"))) {
        const server::WorkspacePtr finished = server::Workspace::Open(finishedPath);
        const int maximum = finished->Info().maximumCount;
        Series &table = results.At(op::QualityTable, strings);
        table.note = QStringLiteral("every string of table version 0 against its English text, from an empty cache");
        int problems = 0;
        for (int i = 0; i < repeats; ++i) {
            checks::TableChecker checker(finished->Tables(), kVersion, maximum);
            QElapsedTimer t;
            t.start();
            problems = checker.Count().strings;
            Sample(table, Ms(t));
        }
        Progress(QStringLiteral("%1: %2 ms (%3 strings with problems)").arg(op::QualityTable).arg(table.Median(), 0, 'f', 2).arg(problems));

        // The longest string with parameters, typed into the dialog: its own rules and its group.
        checks::TableChecker checker(finished->Tables(), kVersion, maximum);
        checker.Count();
        StringId longest = static_cast<StringId>(SyntheticId(0, strings));
        for (int n = 0; n < strings; ++n) {
            const StringId id = static_cast<StringId>(SyntheticId(n, strings));
            if (finished->Tables()->Text(id, kVersion).size() > finished->Tables()->Text(longest, kVersion).size())
                longest = id;
        }
        const checks::StringValues typed = checks::StringValues::Of(*finished->Tables()->Entry(longest, kVersion));
        Series &one = results.At(op::QualityOne, strings, QStringLiteral("µs"));
        one.note = QStringLiteral("CheckEdit on the longest translation (%1 characters), the mean of 1000 calls")
                       .arg(typed.text.size());
        for (int i = 0; i < repeats; ++i) {
            QElapsedTimer t;
            t.start();
            for (int k = 0; k < 1000; ++k)
                problems += static_cast<int>(checker.CheckEdit(longest, typed).size());
            Sample(one, static_cast<double>(t.nsecsElapsed()) / 1e3 / 1000);
        }
        Progress(QStringLiteral("%1: %2 µs").arg(op::QualityOne).arg(one.Median(), 0, 'f', 2));
    }

    if (options.Wants(QStringLiteral("tm"))) {
        // The translation memory on the workspace's own translations, each index built afresh.
        const server::WorkspacePtr ws = server::Workspace::Open(path);
        const int maximum = ws->Info().maximumCount;
        Series &index = results.At(op::MemoryIndex, strings);
        index.note = QStringLiteral("every current translation of table version 0 into a new index file, one transaction");
        std::unique_ptr<memory::TranslationMemory> tm;
        for (int i = 0; i < heavy; ++i) {
            const QString file = QDir(options.workDir).filePath(QStringLiteral("memory-%1-%2.sqlite").arg(strings).arg(i));
            tm = std::make_unique<memory::TranslationMemory>(file);
            tm->SetWorkspace(ws->Tables(), path, maximum);
            QElapsedTimer t;
            t.start();
            tm->Refresh();
            index.samples.push_back(Ms(t));
        }
        Progress(QStringLiteral("%1: %2 ms").arg(op::MemoryIndex).arg(index.Median(), 0, 'f', 1));

        // As the translate dialog asks, on a memory the editor has warmed: up to five matches of at
        // least 60 % for a string's English.
        tm->Warm();
        Series &lookup = results.At(op::MemoryLookup, strings);
        lookup.note = QStringLiteral("Lookup of one string's English (up to 5 matches of at least 60 %), %1 strings spread "
                                     "over the table, each timed")
                          .arg(repeats * 20);
        int found = 0;
        for (int n = 0; n < repeats * 20; ++n) {
            const auto id = static_cast<StringId>(SyntheticId(n * strings / (repeats * 20), strings));
            const QString english = ws->Tables()->Text(id, ssEnglishDefault);
            QElapsedTimer t;
            t.start();
            found += static_cast<int>(tm->Lookup(english, id, 60, 5).size());
            lookup.samples.push_back(Ms(t));
        }
        Progress(QStringLiteral("%1: %2 ms (max %3, %4 suggestions)").arg(op::MemoryLookup).arg(lookup.Median(), 0, 'f', 2)
                     .arg(lookup.Max(), 0, 'f', 2).arg(found));

        Series &fill = results.At(op::MemoryPretranslate, strings);
        fill.note = QStringLiteral("every missing translation of table version 0 from exact matches, stored unsaved");
        int filled = 0;
        for (int i = 0; i < heavy; ++i) {
            QElapsedTimer t;
            t.start();
            filled = static_cast<int>(memory::Pretranslate(*tm, ws->Tables(), kVersion, {}, 100, maximum).size());
            fill.samples.push_back(Ms(t));
            ws->Tables()->DiscardEdits();
        }
        Progress(QStringLiteral("%1: %2 ms (%3 filled)").arg(op::MemoryPretranslate).arg(fill.Median(), 0, 'f', 1).arg(filled));
    }

#ifdef KVEDIT_BENCH_HAVE_IO
    // Resource files of the same size: the strings exported as a resource script and the
    // translation as XLIFF, then both read into a new workspace (the script makes the strings,
    // the XLIFF file brings their translations) and saved.
    if (options.Wants(QStringLiteral("io"))) {
        const QString rc = QDir(options.workDir).filePath(QStringLiteral("strings-%1.rc").arg(strings));
        const QString xlf = QDir(options.workDir).filePath(QStringLiteral("strings-%1.de.xlf").arg(strings));
        const QString fresh = QDir(options.workDir).filePath(QStringLiteral("imported-%1.kvw").arg(strings));
        Series &exportRc = results.At(op::ExportRc, strings);
        Series &exportXliff = results.At(op::ExportXliff, strings);
        Series &importRc = results.At(op::ImportRc, strings);
        Series &importXliff = results.At(op::ImportXliff, strings);
        exportRc.note = QStringLiteral("the English default to a resource script");
        exportXliff.note = QStringLiteral("the Local Edited version as XLIFF 1.2 targets beside their sources");
        importRc.note = QStringLiteral("that script into a new workspace as its strings, saved");
        importXliff.note = QStringLiteral("that XLIFF file into the same workspace as its translations, saved");
        try {
            for (int i = 0; i < repeats; ++i) {
                io::ExportOptions english;
                english.table = ssEnglishDefault;
                QElapsedTimer t;
                t.start();
                const io::ExportSummary rcSummary = io::ExportFile(*workspace, rc, english);
                Sample(exportRc, Ms(t));
                io::ExportOptions local;
                local.table = kVersion;
                t.restart();
                const io::ExportSummary xlfSummary = io::ExportFile(*workspace, xlf, local);
                Sample(exportXliff, Ms(t));
                Check(rcSummary.strings == strings && xlfSummary.strings >= strings - c.missing,
                      QStringLiteral("exported %1 and %2 strings of %3").arg(rcSummary.strings).arg(xlfSummary.strings).arg(strings));

                QFile::remove(fresh);
                server::WorkspaceInfo info = workspace->Info();
                info.name = QStringLiteral("Imported");
                const server::WorkspacePtr target = server::Workspace::Create(fresh, info);
                t.restart();
                const io::ImportSummary fromRc = io::ImportFile(*target, rc);
                Sample(importRc, Ms(t));
                t.restart();
                const io::ImportSummary fromXliff = io::ImportFile(*target, xlf);
                Sample(importXliff, Ms(t));
                Check(fromRc.added == strings && fromRc.source == ssEnglishDefault,
                      QStringLiteral("the script added %1 strings of %2").arg(fromRc.added).arg(strings));
                Check(fromXliff.source == ssLocalDefault && fromXliff.added + fromXliff.skipped >= strings - c.missing,
                      QStringLiteral("the XLIFF file added %1 translations").arg(fromXliff.added));
            }
        } catch (const KvError &e) {
            Check(false, QStringLiteral("import or export failed: %1").arg(e.Description()));
        }
        // The XLIFF file's size, and the peak of a process that imports it again (a process of its
        // own, so the figure is the import's and not this program's).
        Series &size = results.At(op::XliffSize, strings, QStringLiteral("MB"));
        size.note = QStringLiteral("the file of that export, 10^6 bytes");
        size.samples.push_back(static_cast<double>(QFileInfo(xlf).size()) / 1e6);
        Series &memory = results.At(op::MemoryXliffImport, strings, QStringLiteral("MB"));
        memory.note = QStringLiteral("a fresh process: opens that workspace and imports the XLIFF file into it again, saved");
        const QString copy = fresh + QStringLiteral(".probe");
        for (int i = 0; i < heavy; ++i) {
            QFile::remove(copy);
            QFile::copy(fresh, copy);
            const ChildRun run = RunChild(options.self, {QStringLiteral("--transfer-probe"), QStringLiteral("import"), copy, xlf},
                                          ChildEnvironment(options), QByteArray("probe done"), 120000);
            const QByteArray output = run.output.mid(run.output.indexOf("probe done:") + 11).trimmed();
            const double peak = output.left(output.indexOf(' ')).toDouble();
            Check(run.ok && peak > 0, QStringLiteral("XLIFF import probe failed: %1").arg(QString::fromLocal8Bit(run.output)));
            if (run.ok && peak > 0)
                memory.samples.push_back(peak);
        }
        QFile::remove(copy);
        QFile::remove(rc);
        QFile::remove(xlf);
        QFile::remove(fresh);
        Progress(QStringLiteral("export %1 / %2 ms, import %3 / %4 ms (resource script / XLIFF)")
                     .arg(exportRc.Median(), 0, 'f', 1).arg(exportXliff.Median(), 0, 'f', 1)
                     .arg(importRc.Median(), 0, 'f', 1).arg(importXliff.Median(), 0, 'f', 1));
        Progress(QStringLiteral("XLIFF file %1 MB, its import peaks at %2 MB").arg(size.Median(), 0, 'f', 1).arg(memory.Median(), 0, 'f', 1));
    }

    // PO and TS of the same size: the Local Edited version exported, then read back as the
    // translations of a workspace that has only the strings (started from the same file), saved;
    // the peak memory of each in a process of its own.
    if (options.Wants(QStringLiteral("io"))) {
        const struct {
            QString extension;
            const QString &exportName, &importName, &exportMemoryName, &importMemoryName;
        } catalogs[] = {{QStringLiteral("po"), op::ExportPo, op::ImportPo, op::MemoryExportPo, op::MemoryImportPo},
                        {QStringLiteral("ts"), op::ExportTs, op::ImportTs, op::MemoryExportTs, op::MemoryImportTs}};
        const QDir work(options.workDir);
        const QString stringsOnly = work.filePath(QStringLiteral("strings-only-%1.kvw").arg(strings));
        const QString target = work.filePath(QStringLiteral("translated-%1.kvw").arg(strings));
        for (const auto &catalog : catalogs) {
            const QString file = work.filePath(QStringLiteral("strings-%1.de.%2").arg(strings).arg(catalog.extension));
            Series &exported = results.At(catalog.exportName, strings);
            Series &imported = results.At(catalog.importName, strings);
            Series &exportPeak = results.At(catalog.exportMemoryName, strings, QStringLiteral("MB"));
            Series &importPeak = results.At(catalog.importMemoryName, strings, QStringLiteral("MB"));
            exported.note = QStringLiteral("the Local Edited version with its sources and states");
            imported.note = QStringLiteral("that file as the translations of a workspace with the strings, saved");
            exportPeak.note = importPeak.note = QStringLiteral("a fresh process doing only that");
            io::ExportOptions local;
            local.table = kVersion;
            try {
                io::ExportFile(*workspace, file, local);
                QFile::remove(stringsOnly);
                server::WorkspaceInfo info = workspace->Info();
                info.name = QStringLiteral("Imported");
                io::ImportOptions english;
                english.as = io::ImportAs::EnglishDefault;
                io::ImportFile(*server::Workspace::Create(stringsOnly, info), file, english);
                for (int i = 0; i < repeats; ++i) {
                    QElapsedTimer t;
                    t.start();
                    const io::ExportSummary out = io::ExportFile(*workspace, file, local);
                    Sample(exported, Ms(t));
                    QFile::remove(target);
                    QFile::copy(stringsOnly, target);
                    const server::WorkspacePtr translated = server::Workspace::Open(target);
                    t.restart();
                    const io::ImportSummary in = io::ImportFile(*translated, file);
                    Sample(imported, Ms(t));
                    Check(out.strings == strings && in.added == strings - c.missing,
                          QStringLiteral("%1: exported %2 strings, imported %3 translations of %4")
                              .arg(catalog.extension).arg(out.strings).arg(in.added).arg(strings - c.missing));
                }
            } catch (const KvError &e) {
                Check(false, QStringLiteral("%1 import or export failed: %2").arg(catalog.extension, e.Description()));
            }
            for (int i = 0; i < heavy; ++i) {
                QFile::remove(target);
                QFile::copy(stringsOnly, target);
                for (const auto &[direction, workspaceFile, series] :
                     {std::tuple{QStringLiteral("export"), path, &exportPeak}, std::tuple{QStringLiteral("import"), target, &importPeak}}) {
                    const ChildRun run = RunChild(options.self, {QStringLiteral("--transfer-probe"), direction, workspaceFile, file},
                                                  ChildEnvironment(options), QByteArray("probe done"), 120000);
                    const QByteArray output = run.output.mid(run.output.indexOf("probe done:") + 11).trimmed();
                    const double peak = output.left(output.indexOf(' ')).toDouble();
                    Check(run.ok && peak > 0, QStringLiteral("%1 probe failed: %2").arg(direction, QString::fromLocal8Bit(run.output)));
                    if (run.ok && peak > 0)
                        series->samples.push_back(peak);
                }
            }
            QFile::remove(file);
            Progress(QStringLiteral("%1: export %2 ms, %3 MB; import %4 ms, %5 MB")
                         .arg(catalog.extension).arg(exported.Median(), 0, 'f', 1).arg(exportPeak.Median(), 0, 'f', 1)
                         .arg(imported.Median(), 0, 'f', 1).arg(importPeak.Median(), 0, 'f', 1));
        }
        QFile::remove(stringsOnly);
        QFile::remove(target);
    }
#endif

    // One string edited as the translate dialog hands it back, then File > Save.
    if (options.Wants(QStringLiteral("edit-one"))) {
        Series &store = results.At(op::StoreOne, strings);
        Series &save = results.At(op::SaveOne, strings);
        Series &both = results.At(op::StoreSaveOne, strings);
        both.note = QStringLiteral("UpdateEntry with the list refreshed and repainted, then File > Save to the file");
        store.note = QStringLiteral("UpdateEntry: stored, the string's state and the progress updated, the list refreshed and repainted");
        const StringTableSetPtr tables = form->DataSource()->Tables();
        CStringList &list = form->DataSource()->StringList();
        const int row = list.Count() / 2 + 1;
        for (int i = 0; i < repeats; ++i) {
            form->DataView()->setCurrentRecord(row);
            const auto id = static_cast<StringId>(list.Value(row));
            const StringEntryPtr entry = tables->Entry(id, kVersion);
            const StringEntryPtr edited = Edited(entry, tables->Text(id, ssEnglishDefault) + QStringLiteral(" (%1)").arg(i));
            QElapsedTimer t;
            t.start();
            form->UpdateEntry(entry, edited);
            QApplication::processEvents();
            const double stored = Ms(t);
            Check(tables->Modified(), QStringLiteral("the edit left the tables unmodified"));
            form->ProcessFileMenuSave(false);
            QApplication::processEvents();
            const double total = Ms(t);
            Check(!tables->Modified() && form->Saved(), QStringLiteral("Save left edits behind"));
            Sample(store, stored);
            Sample(save, total - stored);
            Sample(both, total);
        }
        Progress(QStringLiteral("%1: %2 ms (store %3, save %4)")
                     .arg(op::StoreSaveOne).arg(both.Median(), 0, 'f', 2).arg(store.Median(), 0, 'f', 2).arg(save.Median(), 0, 'f', 2));
    }

    // Every string edited, then one Save that writes them all.
    if (options.Wants(QStringLiteral("edit-all"))) {
        Series &store = results.At(op::StoreAll, strings);
        Series &save = results.At(op::SaveAll, strings);
        store.note = QStringLiteral("through StringTableSet::StoreEntry, one entry per listed string");
        save.note = QStringLiteral("File > Save with every string edited");
        const StringTableSetPtr tables = form->DataSource()->Tables();
        for (int i = 0; i < heavy; ++i) {
            QElapsedTimer t;
            t.start();
            StoreEveryString(*form, kVersion, i);
            Sample(store, Ms(t));
            t.restart();
            form->ProcessFileMenuSave(false);
            QApplication::processEvents();
            Sample(save, Ms(t));
            Check(!tables->Modified(), QStringLiteral("Save left edits behind"));
        }
        Progress(QStringLiteral("%1: %2 ms, %3: %4 ms")
                     .arg(op::StoreAll).arg(store.Median(), 0, 'f', 1).arg(op::SaveAll).arg(save.Median(), 0, 'f', 1));
    }

    form.reset();
    ResetServices();
}

int RunTransferProbe(const QString &direction, const QString &workspacePath, const QString &file)
{
#ifdef KVEDIT_BENCH_HAVE_IO
    try {
        const server::WorkspacePtr workspace = server::Workspace::Open(workspacePath);
        if (direction == QLatin1String("export")) {
            io::ExportOptions local;
            local.table = kVersion;
            io::ExportFile(*workspace, file, local);
        } else {
            io::ImportFile(*workspace, file);
        }
        std::printf("probe done: %.1f MB\n", PeakResidentMegabytes());
        std::fflush(stdout);
        return 0;
    } catch (const KvError &e) {
        std::fprintf(stderr, "transfer probe: %s\n", qPrintable(e.Description()));
        return 1;
    }
#else
    Q_UNUSED(direction) Q_UNUSED(workspacePath) Q_UNUSED(file)
    return 1;
#endif
}

int RunMemoryProbe(const QString &workspacePath)
{
    try {
        const std::shared_ptr<ScriptedPrompts> prompts = InstallPrompts();
        const ResourceWorkspacePtr workspace = server::Workspace::Open(workspacePath);
        std::unique_ptr<frmEdit> form = ShowEditor(workspace, kVersion);
        PageThrough(*form);
        prompts->inputAnswer = UnmatchedSearchText();
        form->DataView()->setCurrentRecord(1);
        form->ProcessEditMenuFindText();

        const StringTableSetPtr tables = form->DataSource()->Tables();
        const auto id = static_cast<StringId>(form->DataSource()->StringList().Value(1));
        const StringEntryPtr entry = tables->Entry(id, kVersion);
        form->UpdateEntry(entry, Edited(entry, entry->Text() + QStringLiteral(" (probe)")));
        form->ProcessFileMenuSave(false);
        StoreEveryString(*form, kVersion, 0);
        form->ProcessFileMenuSave(false);
        QApplication::processEvents();
        std::printf("probe done: %.1f MB\n", PeakResidentMegabytes());
        std::fflush(stdout);
        return tables->Modified() ? 1 : 0;
    } catch (const KvError &e) {
        std::fprintf(stderr, "memory probe: %s\n", qPrintable(e.Description()));
        return 1;
    }
}

} // namespace kvedit::bench
