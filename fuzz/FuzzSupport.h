#pragma once
// Shared by the fuzz targets: each input is handed to the program's readers as a file, since
// that is how they meet hostile data, and in a Qt application object that lives for the run.

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

namespace kvedit::fuzz {

// The folder inputs are written to, made once per process and removed at exit.
inline QString Scratch()
{
    static int argc = 1;
    static char name[] = "kvedit-fuzz";
    static char *argv[] = {name, nullptr};
    static QCoreApplication *app = QCoreApplication::instance() ? nullptr : new QCoreApplication(argc, argv);
    static QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/kvedit-fuzz-XXXXXX"));
    static const bool quiet = [] {
        // Every rejected input logs its reason; millions of lines would drown the fuzzer's own.
        QLoggingCategory::setFilterRules(QStringLiteral("kvedit.*=false"));
        return true;
    }();
    Q_UNUSED(app);
    Q_UNUSED(quiet);
    return dir.path();
}

// Writes the input to a file of this name in the scratch folder and returns its path.
inline QString WriteInput(const char *name, const uint8_t *data, size_t size)
{
    const QString path = Scratch() + QLatin1Char('/') + QLatin1String(name);
    QFile f(path);
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        f.write(reinterpret_cast<const char *>(data), static_cast<qint64>(size));
    return path;
}

} // namespace kvedit::fuzz
