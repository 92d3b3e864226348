#include "listsource/CDVDataSource.h"

#include "common/basGlobals.h"
#include "services/ErrorContext.h"
#include "services/Services.h"
#include "services/TextFinder.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QPointer>
#include <QWidget>

#include <algorithm>
#include <array>
#include <cmath>

Q_LOGGING_CATEGORY(lcListSource, "kvedit.listsource")

namespace kvedit {

namespace {

constexpr const char *kModule = "CDVDataSource";
constexpr int kColumns = 6;
// Kept free beside the fixed columns when the text columns share the width: 100 twips, the
// room a list's own border takes, converted to pixels where it is used.
constexpr double kWidthReserveTwips = 100;
// What an automated run allows a message box before taking it as unanswered.
constexpr qint32 kHeadlessMessageTimeoutMs = 5000;

// Ids reach the server as 16-bit values; a wider value is an overflow, not a different id.
StringId ToStringId(qint32 id)
{
    if (id < -32768 || id > kMaxStringId)
        throw KvError(errOverflow, QStringLiteral("Overflow: string id %1").arg(id), QString::fromLatin1(kModule));
    return static_cast<StringId>(id);
}

bool IsHeadlessPlatform()
{
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return true;
    const QString platform = QGuiApplication::platformName();
    return platform == QLatin1String("offscreen") || platform == QLatin1String("minimal");
}

} // namespace

class CDVDataSource::Private {
public:
    ResourceWorkspacePtr workspace;
    kvedit::TableVersion version = ssLocalEdited;
    std::array<double, kColumns> widths{};
    double rowHeight = 0;
    QPointer<QObject> feedback;
    qint32 limit = 0;
    std::unique_ptr<CStringList> list;
    StringStates states;
    std::unique_ptr<checks::TableChecker> checker;
    ListFilter filter;
    TextFinder finder;   // the filter's text, prepared once per filter
    bool findsIds = false;       // the text could be part of an id (digits only)
    bool findsSymbols = false;   // ... or of a symbol (an identifier's characters only)
    // The filter's text test, made once per filter: the tables hand each value to it.
    StringTableSet::TextTest contains = [this](QStringView text) { return Contains(text); };

    bool Contains(QStringView text) const
    {
        if (finder.FoundIn(text))
            return true;
        // Cleaned as Find cleans a caption, so "Open" finds "&Open"; a text without the first
        // letter looked for is spared the cleaning.
        return text.contains(u'&') && text.contains(filter.text.front(), Qt::CaseInsensitive)
               && finder.FoundIn(CleanAccessMarkers(text.toString()));
    }
    bool Matches(const StringTableSet *tables, qint32 id);

    TextServerPtr Server() const { return workspace ? workspace->TextServer() : nullptr; }
    StringTableSetPtr Tables() const
    {
        const TextServerPtr server = Server();
        return server ? server->StringTableSet() : nullptr;
    }
    int MaximumCount() const
    {
        const TextServerPtr server = Server();
        return server ? qBound(0, server->MaximumCount(), kMaxStringId) : kMaxStringId;
    }
    // States and checks follow the tables and version shown; the checks cost nothing until asked.
    void Attach()
    {
        attached = true;
        const StringTableSetPtr tables = Tables();
        states.Attach(tables, version, MaximumCount());
        checker.reset();
        if (tables)
            checker = std::make_unique<checks::TableChecker>(tables, version, MaximumCount(), Rules(*tables));
    }
    // Counting the states passes every id, so a new workspace is attached when first asked
    // about, not again for the version set right after it.
    bool attached = false;
    void Ready()
    {
        if (!attached)
            Attach();
    }
    static checks::RuleSet Rules(const StringTableSet &tables)
    {
        return checks::RuleSet::AllBut(tables.DisabledCheckRules());
    }
    checks::Problems ProblemsOf(qint32 id) const
    {
        if (!checker || id <= 0 || id > kMaxStringId)
            return {};
        return checker->ProblemsOf(static_cast<StringId>(id));
    }
    // Counted from the cache without copying the problems: asked for every row painted.
    checks::Totals TotalsOf(qint32 id) const
    {
        if (!checker || id <= 0 || id > kMaxStringId)
            return {};
        return checker->Count(static_cast<StringId>(id));
    }
    // A heading the tables name; logged, not reported, because headings are asked while painting.
    QString Heading(int source) const
    {
        try {
            const StringTableSetPtr tables = Tables();
            return tables ? basGlobals::SourceHeading(tables, source) : QString();
        } catch (const KvError &e) {
            qCWarning(lcListSource) << "heading of source" << source << "unavailable:" << e.Description();
        } catch (const std::exception &e) {
            qCWarning(lcListSource) << "heading of source" << source << "unavailable:" << e.what();
        }
        return QString();
    }
};

CDVDataSource::CDVDataSource(QObject *parent) : QObject(parent), d(std::make_unique<Private>()) {}

CDVDataSource::~CDVDataSource() = default;

void CDVDataSource::setWorkspace(const ResourceWorkspacePtr &workspace)
{
    d->workspace = workspace;
    // The ids of another workspace mean nothing here, and its server may count differently; the
    // list is filled again by TableVersion(Let) or RefreshStringList.
    d->list.reset();
    d->attached = false;
    d->states.Attach(nullptr, d->version, 0);
    d->checker.reset();
}

ResourceWorkspacePtr CDVDataSource::Workspace() const { return d->workspace; }

StringTableSetPtr CDVDataSource::Tables() const { return d->Tables(); }

TextServerPtr CDVDataSource::Server() const { return d->Server(); }

kvedit::TableVersion CDVDataSource::TableVersion() const { return d->version; }

void CDVDataSource::setTableVersion(kvedit::TableVersion version)
{
    Reporting(kModule, "TableVersion(Let)", [&] {
        d->version = version;
        // The listeners hear of every version set, one the tables refuse included.
        emit UpdateTitle(version);
        d->Attach();
        RefreshStringList();
    });
}

QString CDVDataSource::Title() const
{
    const QString name = d->workspace ? d->workspace->Name() : QString();
    const QString heading = d->Heading(d->version);
    if (name.isEmpty() || heading.isEmpty())
        return name + heading;
    return name + QStringLiteral(" - ") + heading;
}

CStringList &CDVDataSource::StringList()
{
    if (!d->list)
        d->list = std::make_unique<CStringList>(d->MaximumCount());
    return *d->list;
}

void CDVDataSource::RefreshStringList()
{
    Reporting(kModule, "RefreshStringList", [&] {
        CStringList &list = StringList();
        list.Clear();
        const TextServerPtr server = d->Server();
        const StringTableSetPtr tables = server ? server->StringTableSet() : nullptr;
        if (tables) {
            const kvedit::TableVersion version = d->version;
            const int maximum = qMin(server->MaximumCount(), list.MaximumCount());
            for (int value = 1; value <= maximum; ++value) {
                const auto id = static_cast<StringId>(value);
                if (!tables->IdInUse(id, version))
                    continue;
                if (version == ssEnglishDefault || tables->IdInUse(id, ssEnglishDefault)) {
                    list.Add(value);
                    continue;
                }
                // A translation whose source string is gone. Adding never replaces a record that
                // is in use (StoreEntry is the call that does), so the translation keeps its text;
                // the id stays out of this pass.
                tables->AddEntry(server->CreateEntry(tables, id, version));
            }
        }
        if (d->filter.IsActive()) {
            // Kept in place: the rows that match move up, in the fill's order.
            int kept = 0;
            for (int position = 1; position <= list.Count(); ++position) {
                const qint32 id = list.Value(position);
                if (d->Matches(tables.get(), id))
                    list.setValue(++kept, id);
            }
            list.setCount(kept);
        }
        list.Trim();
    });
}

StringStates &CDVDataSource::States()
{
    d->Ready();
    return d->states;
}

checks::TableChecker *CDVDataSource::Checks()
{
    d->Ready();
    return d->checker.get();
}

void CDVDataSource::InvalidateChecks(const QList<StringId> &ids)
{
    if (!d->attached || !d->checker)
        return;
    if (!ids.isEmpty()) {
        for (const StringId id : ids)
            d->checker->Invalidate(id);
        return;
    }
    // A Save, Reset or undo may bring the workspace's rules back as they were.
    if (const StringTableSetPtr tables = d->Tables())
        d->checker->SetRules(Private::Rules(*tables));
    d->checker->InvalidateAll();
}

void CDVDataSource::RereadCheckRules()
{
    if (d->attached && d->checker)
        if (const StringTableSetPtr tables = d->Tables())
            d->checker->SetRules(Private::Rules(*tables));
}

ListFilter CDVDataSource::Filter() const { return d->filter; }

void CDVDataSource::setFilter(const ListFilter &filter)
{
    d->filter = filter;
    d->finder.setPattern(filter.text);
    // Ids and symbols are asked only where the text could be part of one: most filter texts
    // are words, and the pass stays within what typing allows.
    const auto all = [&](auto test) { return !filter.text.isEmpty() && std::all_of(filter.text.cbegin(), filter.text.cend(), test); };
    d->findsIds = all([](QChar c) { return c.isDigit(); });
    d->findsSymbols = all([](QChar c) { return c.isLetterOrNumber() || c == u'_'; });
}

bool CDVDataSource::Matches(qint32 id) const
{
    const StringTableSetPtr tables = d->Tables();
    return d->Matches(tables.get(), id);
}

bool CDVDataSource::Private::Matches(const StringTableSet *tables, qint32 id)
{
    if (id <= 0 || id > kMaxStringId)
        return false;
    const auto stringId = static_cast<StringId>(id);
    Ready();
    if (!states.Matches(stringId, filter.state))
        return false;
    if (filter.state == StateFilter::HasProblems && TotalsOf(id).strings == 0)
        return false;
    const QString &needle = filter.text;
    if (needle.isEmpty())
        return true;
    if (!tables)
        return false;
    using Field = StringTableSet::TextField;
    return (findsIds && QString::number(id).contains(needle))
           || (findsSymbols && tables->TestText(stringId, ssEnglishDefault, Field::Symbol, contains))
           || tables->TestText(stringId, ssEnglishDefault, Field::Text, contains)
           || (version != ssEnglishDefault && tables->TestText(stringId, version, Field::Text, contains))
           || tables->TestText(stringId, ssEnglishDefault, Field::Description, contains);
}

int CDVDataSource::RowSign(qint32 lngEntry)
{
    if (lngEntry <= 0 || lngEntry > kMaxStringId)
        return rsNone;
    d->Ready();
    const StringState state = d->states.State(static_cast<StringId>(lngEntry));
    int sign = rsNone;
    switch (state.translation) {
    case TranslationState::Missing: sign = rsMissing; break;
    case TranslationState::OutOfDate: sign = rsOutOfDate; break;
    case TranslationState::Unapproved: sign = rsUnapproved; break;
    case TranslationState::Approved: sign = rsApproved; break;
    case TranslationState::None: sign = state.pendingCorrection ? rsPending : rsNone; break;
    }
    if (state.localEdit)
        sign |= rsLocalEdit;
    const checks::Totals problems = d->TotalsOf(lngEntry);
    if (problems.errors > 0)
        sign |= rsError;
    if (problems.warnings > 0)
        sign |= rsWarning;
    return sign;
}

QString CDVDataSource::RowToolTip(qint32 lngEntry)
{
    QString tip;
    Reporting(kModule, "RowToolTip", [&] {
        const StringTableSetPtr tables = d->Tables();
        if (!tables || lngEntry <= 0 || lngEntry > kMaxStringId)
            return;
        const auto id = static_cast<StringId>(lngEntry);
        d->Ready();
        QStringList lines;
        const QString state = StringStates::Describe(d->states.State(id));
        lines << (state.isEmpty() ? QStringLiteral("String %1").arg(id) : QStringLiteral("%1: %2").arg(id).arg(state));
        const QString symbol = tables->Symbol(id);
        if (!symbol.isEmpty())
            lines << QStringLiteral("Symbol: ") + symbol;
        const QString description = tables->Description(id, ssEnglishDefault);
        if (!description.isEmpty())
            lines << QStringLiteral("Description: ") + description;
        for (const checks::Problem &problem : d->ProblemsOf(lngEntry))
            lines << checks::Describe(problem);
        tip = lines.join(u'\n');
    });
    return tip;
}

QString CDVDataSource::RenderForDisplay(const QString &text)
{
    QString result = text;
    Reporting(kModule, "RenderForDisplay", [&] {
        const auto isControl = [](QChar c) { return c.unicode() < 32; };
        if (std::none_of(text.cbegin(), text.cend(), isControl))
            return;
        // The bound is the original length while the text changes under it: each two-character
        // escape pushes the tail one place beyond the bound, so a closing CR LF shows its CR as
        // "\r" and its LF raw, and the character after a removed one is not looked at.
        const qsizetype bound = result.size();
        for (qsizetype i = 0; i < bound && i < result.size(); ++i) {
            switch (result.at(i).unicode()) {
            case 9:
                result.replace(i, 1, QStringLiteral("\\t"));
                break;
            case 10:
                result.replace(i, 1, QStringLiteral("\\n"));
                break;
            case 13:
                result.replace(i, 1, QStringLiteral("\\r"));
                break;
            default:
                if (isControl(result.at(i)))
                    result.remove(i, 1);
                break;
            }
        }
    });
    return result;
}

qint32 CDVDataSource::MessageTestTimeout() const
{
    qint32 result = 0;
    Reporting(kModule, "MessageTestTimeout(Get)", [&] {
        // Nobody can answer a box on a headless platform, so a test there gives up after a while;
        // in an interactive session the user takes as long as needed (0: no limit).
        result = IsHeadlessPlatform() ? kHeadlessMessageTimeoutMs : 0;
    });
    return result;
}

void CDVDataSource::setLimit(qint32 limit)
{
    if (limit < 0)
        return;
    d->limit = qMin(limit, d->MaximumCount());
}

qint32 CDVDataSource::Limit() const { return d->limit; }

void CDVDataSource::CalculateColumnSizes(QWidget *objContainer, double sngTotalWidth)
{
    Reporting(kModule, "CalculateColumnSizes", [&] {
        if (!objContainer)
            return;
        auto &w = d->widths;
        w[0] = CalculateColumnWidth(0, objContainer);
        w[1] = CalculateColumnWidth(1, objContainer);
        w[4] = CalculateColumnWidth(4, objContainer);
        w[5] = d->version == ssEnglishDefault ? 0.0 : CalculateColumnWidth(5, objContainer);
        const int dataColumns = CountDataColumns();
        w[2] = dataColumns > 0 ? (sngTotalWidth - (w[0] + w[1] + w[4] + w[5] + TwipsToPixelsX(kWidthReserveTwips))) / dataColumns : 0.0;
        w[3] = dataColumns >= 2 ? w[2] : 0.0;
        d->rowHeight = CalculateRowHeight(objContainer);
    });
}

int CDVDataSource::ColumnAlignment(int enmColumn)
{
    switch (enmColumn) {
    case 1:
        return 2;
    case 2:
    case 3:
        return 1;
    default:
        return 0;
    }
}

QString CDVDataSource::ColumnHeading(int enmColumn)
{
    switch (enmColumn) {
    case 1:
        return QStringLiteral("Id");
    case 2:
        return d->Heading(ssEnglishDefault);
    case 3:
        return d->Heading(d->version);
    case 4:
        return QStringLiteral("String Source");
    case 5:
        return QStringLiteral("Valid?");
    default:
        return QString();
    }
}

double CDVDataSource::ColumnWidth(int enmColumn)
{
    return enmColumn >= 0 && enmColumn < kColumns ? d->widths[static_cast<size_t>(enmColumn)] : 0.0;
}

int CDVDataSource::CountDataColumns()
{
    switch (d->version) {
    case ssLocalEdited:
    case ssLocalDefault:
    case ssEnglishEdited:
        return 2;
    case ssEnglishDefault:
        return 1;
    default:
        return 0;
    }
}

int CDVDataSource::CountSupportColumns()
{
    switch (d->version) {
    case ssLocalEdited:
    case ssLocalDefault:
    case ssEnglishEdited:
        return 4;
    case ssEnglishDefault:
        return 2;
    default:
        return 0;
    }
}

int CDVDataSource::CountTotalColumns() { return CountDataColumns() + CountSupportColumns(); }

QString CDVDataSource::EvaluateColumn(qint32 lngEntry, int enmColumn)
{
    QString result;
    Reporting(kModule, "EvaluateColumn", [&] {
        if (enmColumn == 1) {
            result = QString::number(lngEntry);
            return;
        }
        if (enmColumn < 2 || enmColumn > 5)
            return;
        // Without a workspace there is nothing to show; that is a state, not a failure.
        const StringTableSetPtr tables = d->Tables();
        if (!tables)
            return;
        const StringId id = ToStringId(lngEntry);
        switch (enmColumn) {
        case 2:
            result = RenderForDisplay(tables->Text(id, ssEnglishDefault));
            break;
        case 3:
            result = RenderForDisplay(tables->Text(id, d->version));
            break;
        case 4:
            result = tables->SourceName(id, d->version);
            break;
        case 5:
            result = tables->HasStatus(id, d->version, sfApproved) ? QStringLiteral("Yes") : QStringLiteral("No");
            break;
        }
    });
    return result;
}

QObject *CDVDataSource::Feedback() { return d->feedback.data(); }

void CDVDataSource::setFeedback(QObject *robjNew) { d->feedback = robjNew; }

int CDVDataSource::FirstColumn() { return 0; }

qint32 CDVDataSource::GetRecordCount() { return StringList().Count(); }

int CDVDataSource::IdColumn() { return 1; }

bool CDVDataSource::IsBufferLoaded() { return true; }

int CDVDataSource::LastColumn() { return CountTotalColumns(); }

QString CDVDataSource::NoDataMessage()
{
    return d->filter.IsActive() ? QStringLiteral("No string matches the filter") : QStringLiteral("No defined string resources");
}

qint32 CDVDataSource::RecordNumberToId(qint32 lngRecordNumber)
{
    qint32 result = 0;
    Reporting(kModule, "RecordNumberToId", [&] { result = StringList().Value(lngRecordNumber); });
    return result;
}

QString CDVDataSource::ReportRecordCount(qint32 lngRecordNumber, qint32 lngRecordCount)
{
    return QStringLiteral("Id: %1 (Position %2 of %3)")
        .arg(RecordNumberToId(lngRecordNumber))
        .arg(lngRecordNumber)
        .arg(lngRecordCount);
}

double CDVDataSource::RowHeight() { return d->rowHeight; }

QString CDVDataSource::TypeName() { return QStringLiteral("CDVDataSource"); }

void CDVDataSource::UpdateBuffer(bool blnForcedUpdate, qint32 &rlngFirst, qint32 lngRows, int lngSort,
                                 bool blnSearch, qint32 &rlngSearch, qint32 &rlngFoundRow)
{
    Q_UNUSED(blnForcedUpdate)
    Q_UNUSED(lngSort)
    Reporting(kModule, "UpdateBuffer", [&] {
        if (!blnSearch)
            return;
        rlngFoundRow = StringList().Index(rlngSearch) + 1;
        if (rlngFoundRow < rlngFirst) {
            rlngFirst = rlngFoundRow;
        } else if (rlngFirst >= rlngFoundRow - lngRows) {
            // Already in the window.
        } else {
            // Half a window above the found row; an odd window gives a half, which goes to even.
            rlngFirst = static_cast<qint32>(std::nearbyint(rlngFoundRow - lngRows / 2.0 + 1));
        }
    });
}

double CDVDataSource::CalculateColumnWidth(int column, QWidget *form)
{
    double result = 0;
    Reporting(kModule, "CalculateColumnWidth", [&] {
        if (!form || column > 5)
            return;
        const QFontMetrics fm(form->font());
        switch (column) {
        case 0:
            result = fm.horizontalAdvance(QStringLiteral("XXX"));
            break;
        case 1:
            result = fm.horizontalAdvance(QStringLiteral("8888888"));
            break;
        case 4:
            if (CountTotalColumns() >= 5) {
                for (int source = ssLocalEdited; source <= ssEnglishDefault; ++source)
                    result = qMax<double>(result, fm.horizontalAdvance(QLatin1Char('W') + basGlobals::FixedSourceName(source)));
            }
            break;
        case 5:
            result = fm.horizontalAdvance(QStringLiteral("WValid?"));
            break;
        default:
            break;
        }
    });
    return result;
}

double CDVDataSource::CalculateRowHeight(QWidget *form)
{
    double result = 0;
    Reporting(kModule, "CalculateRowHeight", [&] {
        if (!form)
            return;
        QString headings;
        for (int column = 0; column < CountTotalColumns(); ++column)
            headings += ColumnHeading(column);
        // The list adds its own margin when it draws a row.
        result = QFontMetrics(form->font()).size(0, headings).height();
    });
    return result;
}

} // namespace kvedit
