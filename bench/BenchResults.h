#pragma once
// What a benchmark run collects: for every operation and workspace size the repeated samples,
// with the median, minimum and maximum taken from them; printed as one table and kept as JSON
// so that a later run can be set beside it.

#include <QString>
#include <QStringList>

#include <optional>
#include <deque>
#include <vector>

namespace kvedit::bench {

// A figure the operation should stay below at one size: a limit in the series' unit, a limit
// on its ratio to the control, or both.
struct Target {
    double limit = 0;      // in the series' unit; 0 for none
    int atStrings = 0;     // the size the target applies to
    double ratioLimit = 0; // the highest ratio to the control; 0 for none
};

struct Series {
    QString operation;
    int strings = 0;
    QString unit;          // "ms" or "MB"
    std::vector<double> samples;
    std::optional<Target> target;
    QString note;          // what was measured, when the name alone does not say
    // A control measured interleaved with the samples, one run before each: the same kind of
    // work whose cost does not change with kvedit, so that the ratio of the two reads the same
    // on a busy machine as on a quiet one.
    std::vector<double> control;
    QString controlName;   // what the control is

    double Median() const;
    double Min() const;
    double Max() const;
    bool Empty() const { return samples.empty(); }
    double ControlMedian() const;
    // The median over the control's median; nullopt without a control.
    std::optional<double> Ratio() const;
    // True when the median and the ratio stay within the target at the target's size; nullopt
    // when no target applies to this size.
    std::optional<bool> MeetsTarget() const;
    // How far the figures are from the target, as "12 % under" or "30 % over" for each limit.
    QString Margin() const;
};

struct RunInfo {
    QString date;          // ISO 8601, UTC
    QString host;
    int cores = 0;
    QString qtVersion;
    QString buildType;
    QString platform;
    int repeats = 0;
    QList<int> sizes;
    // The machine's load average over the last minute, before and after the run: figures taken
    // while other work shared the cores are slower, and this says how much was going on.
    double loadBefore = -1;
    double loadAfter = -1;
    double loadHighest = -1;   // the highest of the samples taken as each size begins and ends
};

class Results {
public:
    RunInfo info;

    // The series of one operation at one size, created on first use; operations keep the order
    // in which they were first met, so the table reads in the order things were measured.
    Series &At(const QString &operation, int strings, const QString &unit = QStringLiteral("ms"));
    const Series *Find(const QString &operation, int strings) const;
    QStringList Operations() const;
    QList<int> Sizes() const;
    const std::deque<Series> &All() const { return m_series; }

    // One table: operation, size, median, min, max, runs, and the target where one applies.
    QString Table() const;
    // How each figure grows from the smallest to the largest size, against linear growth.
    QString GrowthTable() const;
    // This run beside an earlier one: the median then and now, and the change.
    QString Comparison(const Results &before) const;

    QByteArray ToJson() const;
    static std::optional<Results> FromJson(const QByteArray &json, QString *error = nullptr);

private:
    std::deque<Series> m_series;   // a deque, so references from At stay valid as series are added
};

// Peak resident memory of this process so far, in MB (VmHWM); 0 when unknown.
double PeakResidentMegabytes();

// The one-minute load average; -1 when unknown.
double LoadAverage();

} // namespace kvedit::bench
