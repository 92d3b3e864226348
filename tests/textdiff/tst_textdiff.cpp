#include <QTest>

#include "textdiff/TextDiff.h"

using namespace kvedit::textdiff;

namespace {

// "=kept -gone +new" notation keeps the expected pieces readable in the rows.
QString Notation(const Diff &diff) {
  QStringList parts;
  for (const DiffPiece &piece : diff)
    parts << (piece.op == DiffOp::Equal ? u'=' : piece.op == DiffOp::Removed ? u'-' : u'+') + piece.text;
  return parts.join(u'|');
}

}  // namespace

class TstTextDiff : public QObject {
  Q_OBJECT
 private slots:
  void wordDiff_data() {
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QString>("pieces");
    QTest::newRow("equal") << "Open file" << "Open file" << "=Open file";
    QTest::newRow("word replaced") << "Could not open the file." << "Could not read the file."
                                   << "=Could not |-open|+read|= the file.";
    QTest::newRow("comma added") << "Save changes to %1" << "Save changes, to %1"
                                 << "=Save changes|+,|= to %1";
    QTest::newRow("marker moved") << "&Open" << "Op&en" << "-&|=Op|+&|=en";
    QTest::newRow("retouched word") << "colour" << "color" << "=colo|-u|=r";
    QTest::newRow("words appended") << "Print" << "Print preview" << "=Print|+ preview";
    QTest::newRow("from nothing") << "" << "New text" << "+New text";
    QTest::newRow("to nothing") << "Old text" << "" << "-Old text";
    QTest::newRow("line break") << "One\nTwo" << "One\nThree" << "=One\n|-Two|+Three";
  }
  void wordDiff() {
    QFETCH(QString, before);
    QFETCH(QString, after);
    QFETCH(QString, pieces);
    // The rows' pieces rebuild both sides, so matching them shows the diff does too.
    QCOMPARE(Notation(WordDiff(before, after)), pieces);
  }

  void similarity_data() {
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<double>("expected");
    QTest::newRow("equal") << "Open the file" << "Open the file" << 1.0;
    QTest::newRow("both empty") << "" << "" << 1.0;
    QTest::newRow("one of three words") << "Open the file" << "Close the window" << 1.0 / 3.0;
    QTest::newRow("blanks do not count") << "Open  the file" << "Open the file" << 1.0;
    QTest::newRow("nothing shared") << "Open" << "Schließen" << 0.0;
    QTest::newRow("one empty") << "Open" << "" << 0.0;
  }
  void similarity() {
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(double, expected);
    QVERIFY2(qAbs(WordSimilarity(a, b) - expected) < 1e-9, qPrintable(QString::number(WordSimilarity(a, b))));
  }

  void htmlMarksAndEscapes() {
    const QString html = DiffHtml(WordDiff(QStringLiteral("a <b> c"), QStringLiteral("a <i>\nc")));
    QVERIFY(html.contains(QStringLiteral("<s style=\"color:#c62828\">b</s>")));
    QVERIFY(html.contains(QStringLiteral("&lt;")));
    QVERIFY(html.contains(QStringLiteral("<br>")));
    QVERIFY(!html.contains(QStringLiteral("<b>")));
  }

  void longTextsStillDiffer() {
    // Too long to align token by token: told as a whole replacement, never a hang.
    QString before, after;
    for (int i = 0; i < 3000; ++i) before += QStringLiteral("w%1 ").arg(i), after += QStringLiteral("x%1 ").arg(i);
    const Diff diff = WordDiff(before, after);
    QCOMPARE(diff.size(), 2);
    QCOMPARE(diff[0].op, DiffOp::Removed);
  }
};

QTEST_GUILESS_MAIN(TstTextDiff)
#include "tst_textdiff.moc"
