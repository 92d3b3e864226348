#include "BenchResults.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

namespace kvedit::bench {

namespace {

std::vector<double> Sorted(const std::vector<double> &samples)
{
    std::vector<double> s = samples;
    std::sort(s.begin(), s.end());
    return s;
}

QString Figure(double value, const QString &unit)
{
    if (std::isnan(value))
        return QStringLiteral("-");
    if (unit == QLatin1String("MB"))
        return QString::number(value, 'f', 1);
    if (value < 10)
        return QString::number(value, 'f', 2);
    if (value < 1000)
        return QString::number(value, 'f', 1);
    return QString::number(value, 'f', 0);
}

QString Cell(const QString &text, int width, bool right = true)
{
    return right ? text.rightJustified(width) : text.leftJustified(width);
}

QString TargetText(const Series &s)
{
    const std::optional<bool> met = s.MeetsTarget();
    if (!met)
        return QString();
    QStringList limits;
    if (s.target->limit > 0)
        limits << QStringLiteral("< %1 %2").arg(Figure(s.target->limit, s.unit), s.unit);
    if (s.target->ratioLimit > 0)
        limits << QStringLiteral("ratio <= %1").arg(s.target->ratioLimit, 0, 'f', 1);
    return QStringLiteral("%1 %2 (%3)").arg(limits.join(QStringLiteral(", ")), *met ? QStringLiteral("ok") : QStringLiteral("MISSED"),
                                            s.Margin());
}

QString RatioText(const Series &s)
{
    const std::optional<double> ratio = s.Ratio();
    if (!ratio)
        return QString();
    return QString::number(*ratio, 'f', *ratio < 10 ? 2 : *ratio < 100 ? 1 : 0);
}

// "12 % under" when value is below limit, "30 % over" above it.
QString Distance(double value, double limit)
{
    const double percent = (value / limit - 1) * 100;
    return percent <= 0 ? QStringLiteral("%1 % under").arg(-percent, 0, 'f', 0)
                        : QStringLiteral("%1 % over").arg(percent, 0, 'f', 0);
}

} // namespace

double Series::Median() const
{
    if (samples.empty())
        return std::nan("");
    const std::vector<double> s = Sorted(samples);
    const size_t n = s.size();
    return n % 2 ? s[n / 2] : (s[n / 2 - 1] + s[n / 2]) / 2;
}

double Series::Min() const
{
    return samples.empty() ? std::nan("") : *std::min_element(samples.begin(), samples.end());
}

double Series::Max() const
{
    return samples.empty() ? std::nan("") : *std::max_element(samples.begin(), samples.end());
}

double Series::ControlMedian() const
{
    Series c;
    c.samples = control;
    return c.Median();
}

std::optional<double> Series::Ratio() const
{
    if (control.empty() || samples.empty() || !(ControlMedian() > 0))
        return std::nullopt;
    return Median() / ControlMedian();
}

std::optional<bool> Series::MeetsTarget() const
{
    if (!target || target->atStrings != strings || samples.empty())
        return std::nullopt;
    bool met = true;
    if (target->limit > 0)
        met = Median() < target->limit;
    // A run without its control cannot say; the limit in the unit still does.
    if (target->ratioLimit > 0 && Ratio())
        met = met && *Ratio() <= target->ratioLimit;
    return met;
}

QString Series::Margin() const
{
    if (!target || samples.empty())
        return QString();
    QStringList parts;
    if (target->limit > 0)
        parts << Distance(Median(), target->limit);
    if (target->ratioLimit > 0 && Ratio())
        parts << QStringLiteral("ratio %1").arg(Distance(*Ratio(), target->ratioLimit));
    return parts.join(QStringLiteral(", "));
}

Series &Results::At(const QString &operation, int strings, const QString &unit)
{
    for (Series &s : m_series)
        if (s.operation == operation && s.strings == strings)
            return s;
    Series s;
    s.operation = operation;
    s.strings = strings;
    s.unit = unit;
    m_series.push_back(std::move(s));
    return m_series.back();
}

const Series *Results::Find(const QString &operation, int strings) const
{
    for (const Series &s : m_series)
        if (s.operation == operation && s.strings == strings)
            return &s;
    return nullptr;
}

QStringList Results::Operations() const
{
    QStringList out;
    for (const Series &s : m_series)
        if (!out.contains(s.operation))
            out.append(s.operation);
    return out;
}

QList<int> Results::Sizes() const
{
    QList<int> out;
    for (const Series &s : m_series)
        if (!out.contains(s.strings))
            out.append(s.strings);
    std::sort(out.begin(), out.end());
    return out;
}

QString Results::Table() const
{
    int nameWidth = 9;
    for (const Series &s : m_series)
        nameWidth = std::max(nameWidth, static_cast<int>(s.operation.size()));
    QString out;
    const auto line = [&](const QStringList &cells) {
        out += Cell(cells[0], nameWidth, false) + QStringLiteral("  ") + Cell(cells[1], 7) + Cell(cells[2], 10)
               + Cell(cells[3], 10) + Cell(cells[4], 10) + QStringLiteral("  ") + Cell(cells[5], 4, false)
               + Cell(cells[6], 5) + Cell(cells[7], 8) + QStringLiteral("  ") + cells[8];
        out = out.trimmed() + QLatin1Char('\n');
    };
    line({QStringLiteral("operation"), QStringLiteral("strings"), QStringLiteral("median"), QStringLiteral("min"),
          QStringLiteral("max"), QStringLiteral("unit"), QStringLiteral("runs"), QStringLiteral("ratio"),
          QStringLiteral("target")});
    out += QString(nameWidth + 60, u'-') + QLatin1Char('\n');
    // Grouped by operation, sizes ascending, so the growth of a figure reads down the table.
    for (const QString &operation : Operations()) {
        for (const int size : Sizes()) {
            const Series *s = Find(operation, size);
            if (!s || s->Empty())
                continue;
            line({s->operation, QString::number(s->strings), Figure(s->Median(), s->unit), Figure(s->Min(), s->unit),
                  Figure(s->Max(), s->unit), s->unit, QString::number(s->samples.size()), RatioText(*s), TargetText(*s)});
        }
    }
    QStringList controls;
    for (const QString &operation : Operations())
        for (const int size : Sizes())
            if (const Series *s = Find(operation, size); s && s->Ratio() && !s->controlName.isEmpty()
                                                        && !controls.contains(s->controlName))
                controls << s->controlName;
    if (!controls.isEmpty())
        out += QStringLiteral("ratio: the median over the median of its control, run interleaved with it: ") + controls.join(QStringLiteral("; "))
               + QLatin1Char('\n');
    return out;
}

QString Results::GrowthTable() const
{
    const QList<int> sizes = Sizes();
    if (sizes.size() < 2)
        return QStringLiteral("Growth needs at least two sizes.\n");
    int nameWidth = 9;
    for (const QString &op : Operations())
        nameWidth = std::max(nameWidth, static_cast<int>(op.size()));

    QString out;
    QString head = Cell(QStringLiteral("operation (median)"), nameWidth, false) + QStringLiteral("  ");
    for (const int size : sizes)
        head += Cell(QString::number(size), 10);
    head += Cell(QStringLiteral("growth"), 9) + Cell(QStringLiteral("exponent"), 10) + Cell(QStringLiteral("last step"), 11)
            + QStringLiteral("  verdict");
    out += head + QLatin1Char('\n') + QString(head.size() + 14, u'-') + QLatin1Char('\n');

    const auto exponent = [](double from, double to, double stringsRatio) {
        return std::log(to / from) / std::log(stringsRatio);
    };
    for (const QString &operation : Operations()) {
        QString row = Cell(operation, nameWidth, false) + QStringLiteral("  ");
        std::vector<const Series *> measured;
        for (const int size : sizes) {
            const Series *s = Find(operation, size);
            if (s && !s->Empty())
                measured.push_back(s);
            row += Cell(s && !s->Empty() ? Figure(s->Median(), s->unit) : QStringLiteral("-"), 10);
        }
        const bool positive = std::all_of(measured.begin(), measured.end(), [](const Series *s) { return s->Min() > 0; });
        if (measured.size() >= 2 && positive) {
            const Series *first = measured.front();
            const Series *last = measured.back();
            const Series *beforeLast = measured[measured.size() - 2];
            const double stringsRatio = double(last->strings) / first->strings;
            const double lastRatio = double(last->strings) / beforeLast->strings;
            // The verdict rests on the last step, between the two largest sizes: below a few
            // thousand strings the data stay in the processor's caches, so a string costs less
            // there than in a large table. It uses the fastest runs, which other work on the
            // machine disturbs least; a quarter above proportional still counts as linear.
            const double lastGrowth = last->Min() / beforeLast->Min();
            QString verdict;
            if (lastGrowth > lastRatio * 1.25)
                verdict = QStringLiteral("FASTER THAN LINEAR");
            else if (last->Min() / first->Min() < std::pow(stringsRatio, 0.25))
                verdict = QStringLiteral("flat");
            else
                verdict = QStringLiteral("at most linear");
            row += Cell(QStringLiteral("x%1").arg(last->Median() / first->Median(), 0, 'f', 1), 9)
                   + Cell(QString::number(exponent(first->Median(), last->Median(), stringsRatio), 'f', 2), 10)
                   + Cell(QString::number(exponent(beforeLast->Min(), last->Min(), lastRatio), 'f', 2), 11)
                   + QStringLiteral("  ") + verdict;
        }
        out += row.trimmed() + QLatin1Char('\n');
    }
    const double ratio = double(sizes.last()) / sizes.first();
    out += QStringLiteral("growth: the median at %1 strings over the median at %2 (the strings grow x%3); exponent:\n"
                          "log(growth) / log(x%3), 1 for linear growth, 0 for none. last step: the exponent between the\n"
                          "two largest sizes, fastest runs, on which the verdict rests (a quarter above proportional\n"
                          "still counts as linear). Small tables fit the processor's caches, so their strings cost less.\n")
               .arg(sizes.last()).arg(sizes.first()).arg(ratio, 0, 'f', 1);
    return out;
}

QString Results::Comparison(const Results &before) const
{
    int nameWidth = 9;
    for (const Series &s : m_series)
        nameWidth = std::max(nameWidth, static_cast<int>(s.operation.size()));
    QString out;
    out += Cell(QStringLiteral("operation"), nameWidth, false) + QStringLiteral("  ") + Cell(QStringLiteral("strings"), 7)
           + Cell(QStringLiteral("before"), 10) + Cell(QStringLiteral("now"), 10) + Cell(QStringLiteral("change"), 9)
           + Cell(QStringLiteral("ratio before"), 14) + Cell(QStringLiteral("now"), 8) + QLatin1Char('\n');
    out += QString(nameWidth + 60, u'-') + QLatin1Char('\n');
    for (const QString &operation : Operations()) {
        for (const int size : Sizes()) {
            const Series *now = Find(operation, size);
            const Series *then = before.Find(operation, size);
            if (!now || now->Empty())
                continue;
            QString change;
            if (then && !then->Empty() && then->Median() > 0)
                change = QStringLiteral("%1%2%").arg(now->Median() >= then->Median() ? QStringLiteral("+") : QString())
                             .arg((now->Median() / then->Median() - 1) * 100, 0, 'f', 0);
            out += Cell(operation, nameWidth, false) + QStringLiteral("  ") + Cell(QString::number(size), 7)
                   + Cell(then && !then->Empty() ? Figure(then->Median(), then->unit) : QStringLiteral("-"), 10)
                   + Cell(Figure(now->Median(), now->unit), 10) + Cell(change, 9)
                   + Cell(then ? RatioText(*then) : QString(), 14) + Cell(RatioText(*now), 8);
            out = out.trimmed() + QLatin1Char('\n');
        }
    }
    // Times taken at different loads differ; the ratios to the controls should not.
    out += QStringLiteral("before: %1 on %2 (%3 cores, load average %4); now: load average %5\n")
               .arg(before.info.date, before.info.host).arg(before.info.cores)
               .arg(std::max(before.info.loadBefore, before.info.loadAfter), 0, 'f', 2)
               .arg(std::max(info.loadBefore, info.loadAfter), 0, 'f', 2);
    return out;
}

QByteArray Results::ToJson() const
{
    QJsonObject run;
    run[QStringLiteral("date")] = info.date;
    run[QStringLiteral("host")] = info.host;
    run[QStringLiteral("cores")] = info.cores;
    run[QStringLiteral("qt")] = info.qtVersion;
    run[QStringLiteral("build")] = info.buildType;
    run[QStringLiteral("platform")] = info.platform;
    run[QStringLiteral("repeats")] = info.repeats;
    QJsonArray sizes;
    for (const int s : info.sizes)
        sizes.append(s);
    run[QStringLiteral("sizes")] = sizes;
    run[QStringLiteral("loadBefore")] = info.loadBefore;
    run[QStringLiteral("loadAfter")] = info.loadAfter;
    run[QStringLiteral("loadHighest")] = info.loadHighest;

    QJsonArray results;
    for (const Series &s : m_series) {
        if (s.Empty())
            continue;
        QJsonObject o;
        o[QStringLiteral("operation")] = s.operation;
        o[QStringLiteral("strings")] = s.strings;
        o[QStringLiteral("unit")] = s.unit;
        o[QStringLiteral("median")] = s.Median();
        o[QStringLiteral("min")] = s.Min();
        o[QStringLiteral("max")] = s.Max();
        QJsonArray samples;
        for (const double v : s.samples)
            samples.append(v);
        o[QStringLiteral("samples")] = samples;
        if (!s.control.empty()) {
            QJsonArray control;
            for (const double v : s.control)
                control.append(v);
            o[QStringLiteral("control")] = control;
            o[QStringLiteral("controlName")] = s.controlName;
            o[QStringLiteral("controlMedian")] = s.ControlMedian();
            if (const std::optional<double> ratio = s.Ratio())
                o[QStringLiteral("ratio")] = *ratio;
        }
        if (s.target) {
            o[QStringLiteral("target")] = s.target->limit;
            o[QStringLiteral("targetStrings")] = s.target->atStrings;
            if (s.target->ratioLimit > 0)
                o[QStringLiteral("targetRatio")] = s.target->ratioLimit;
            if (const std::optional<bool> met = s.MeetsTarget()) {
                o[QStringLiteral("targetMet")] = *met;
                o[QStringLiteral("targetMargin")] = s.Margin();
            }
        }
        if (!s.note.isEmpty())
            o[QStringLiteral("note")] = s.note;
        results.append(o);
    }
    QJsonObject root;
    root[QStringLiteral("run")] = run;
    root[QStringLiteral("results")] = results;
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

std::optional<Results> Results::FromJson(const QByteArray &json, QString *error)
{
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(json, &parseError);
    if (!doc.isObject()) {
        if (error)
            *error = parseError.errorString();
        return std::nullopt;
    }
    const QJsonObject root = doc.object();
    Results r;
    const QJsonObject run = root.value(QStringLiteral("run")).toObject();
    r.info.date = run.value(QStringLiteral("date")).toString();
    r.info.host = run.value(QStringLiteral("host")).toString();
    r.info.cores = run.value(QStringLiteral("cores")).toInt();
    r.info.qtVersion = run.value(QStringLiteral("qt")).toString();
    r.info.buildType = run.value(QStringLiteral("build")).toString();
    r.info.platform = run.value(QStringLiteral("platform")).toString();
    r.info.repeats = run.value(QStringLiteral("repeats")).toInt();
    for (const QJsonValue v : run.value(QStringLiteral("sizes")).toArray())
        r.info.sizes.append(v.toInt());
    r.info.loadBefore = run.value(QStringLiteral("loadBefore")).toDouble(-1);
    r.info.loadAfter = run.value(QStringLiteral("loadAfter")).toDouble(-1);
    r.info.loadHighest = run.value(QStringLiteral("loadHighest")).toDouble(-1);
    for (const QJsonValue v : root.value(QStringLiteral("results")).toArray()) {
        const QJsonObject o = v.toObject();
        Series &s = r.At(o.value(QStringLiteral("operation")).toString(), o.value(QStringLiteral("strings")).toInt(),
                         o.value(QStringLiteral("unit")).toString(QStringLiteral("ms")));
        for (const QJsonValue sample : o.value(QStringLiteral("samples")).toArray())
            s.samples.push_back(sample.toDouble());
        for (const QJsonValue sample : o.value(QStringLiteral("control")).toArray())
            s.control.push_back(sample.toDouble());
        s.controlName = o.value(QStringLiteral("controlName")).toString();
        if (o.contains(QStringLiteral("target")))
            s.target = Target{o.value(QStringLiteral("target")).toDouble(), o.value(QStringLiteral("targetStrings")).toInt(),
                              o.value(QStringLiteral("targetRatio")).toDouble()};
        s.note = o.value(QStringLiteral("note")).toString();
    }
    if (r.m_series.empty()) {
        if (error)
            *error = QStringLiteral("no results in the file");
        return std::nullopt;
    }
    return r;
}

double PeakResidentMegabytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly | QIODevice::Text))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:")) {
            const QByteArray kb = line.mid(6).trimmed().split(' ').value(0);
            return kb.toDouble() / 1024.0;
        }
    }
    return 0;
}

double LoadAverage()
{
    QFile f(QStringLiteral("/proc/loadavg"));
    if (!f.open(QIODevice::ReadOnly | QIODevice::Text))
        return -1;
    bool ok = false;
    const double load = f.readLine().split(' ').value(0).toDouble(&ok);
    return ok ? load : -1;
}

} // namespace kvedit::bench
