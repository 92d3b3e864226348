// The floor the program start is set against: a Qt window with one label, as small a program
// as Qt Widgets allows. It prints the line kvedit prints once its list is painted and closes,
// so both are timed the same way from the spawn to that line.

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QTimer>

#include <cstdio>

namespace {

// Started while the program is loaded, before main, as kvedit's own clock.
const QElapsedTimer g_started = [] {
    QElapsedTimer t;
    t.start();
    return t;
}();

class Label final : public QLabel {
public:
    using QLabel::QLabel;

protected:
    void paintEvent(QPaintEvent *event) override
    {
        QLabel::paintEvent(event);
        if (m_painted)
            return;
        m_painted = true;
        // Reported when the paint ends, as kvedit reports the end of its list's first paint.
        std::printf("kvedit: shown after %.1f ms\n", g_started.nsecsElapsed() / 1e6);
        std::fflush(stdout);
        QTimer::singleShot(0, this, [this] { close(); });
    }

private:
    bool m_painted = false;
};

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    Label label(QStringLiteral("One label"));
    label.resize(1280, 800);
    label.show();
    return QApplication::exec();
}
