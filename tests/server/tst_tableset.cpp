// The string table set: scenarios of edits, saves and reopening read as the editor reads them;
// blank entries, new entries from old ones, parameter definitions and refused calls.

#include "server/Entry.h"
#include "server/TableSet.h"
#include "server/Workspace.h"

#include "RecordTestSupport.h"

#include <QRegularExpression>
#include <QtTest>

using namespace kvedit;
using namespace kvedit::server;
using kvedit::test::ErrorOf;
using kvedit::test::Full;

namespace {

constexpr int kMax = 100;

struct Fixture {
    WorkspacePtr ws = Workspace::CreateInMemory({QStringLiteral("Test"), QStringLiteral("de-DE"), kMax});
    std::shared_ptr<TableSet> set = ws->Set();
    TextServerPtr server = ws->TextServer();

    // Puts records as saved state: afterwards nothing counts as edited.
    void Saved(StringId id, StringSource source, const std::optional<Record> &record)
    {
        set->PutRecord(id, source, record);
        set->Save(ssEnglishDefault, false);
    }

    StringEntryPtr Edited(const StringEntryPtr &e, const QString &text, bool valid = true) const
    {
        return e->CreateEdited(e->Id(), text, e->EntryText(), e->Property(tpMultipleLines), e->Property(tpAllowTab),
                               e->Property(tpAllowShortcut), e->ShortcutCharacter(), e->ShortcutMode(),
                               e->ParameterDefinitions(), valid);
    }
};

// Everything an entry carries besides its id, source and parameters.
const Record &Stored(const StringEntryPtr &e) { return static_cast<const Entry &>(*e).StoredRecord(); }

// The entry of a source as the editor reads it: the text ("-" for none), revision, approval, the
// source SourceName names, and "unused" when the id is not in use there.
QString Shown(const TableSet &set, StringId id, StringSource s)
{
    const QString text = set.Text(id, s);
    QString shown = set.HasText(id, s) ? test::Quoted(text)
                    : text.isEmpty()   ? QStringLiteral("-")
                                       : "no text but " + test::Quoted(text);
    shown += " rev " + QString::number(set.Revision(id, s)) + (set.HasStatus(id, s, sfApproved) ? " approved" : "");
    shown += (set.SourceName(id, s).isEmpty() ? QString() : " from " + set.SourceName(id, s));
    shown += QLatin1String(set.IdInUse(id, s) ? "" : " unused");
    // The entry handed to the editor, and the server's values past the entries, must agree.
    const StringEntryPtr e = set.Entry(id, s);
    if (e->Text() != text || e->Status(sfApproved) != set.HasStatus(id, s, sfApproved) || e->StringSource() != s
        || set.Values(id, s) != set.StringTableSet::Values(id, s))
        shown += QLatin1String(", but its entry differs");
    // What the set lends a pass's test must be what its queries answer.
    using Field = StringTableSet::TextField;
    for (const Field field : {Field::Text, Field::Description, Field::Symbol}) {
        QString lent;
        set.TestText(id, s, field, [&lent](QStringView v) { lent = v.toString(); return true; });
        set.StringTableSet::TestText(id, s, field, [&lent](QStringView v) { return v == lent; })
            || (shown += QStringLiteral(", but it lends another value (%1)").arg(int(field)), true);
    }
    return shown;
}

// Runs a scenario (see data/scenarios/README) on a new workspace file at path and returns its
// transcript: every line of the scenario, each command followed by what it shows.
QString RunScenario(const QString &file, const QString &path)
{
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly))
        return QStringLiteral("cannot read ") + file;
    QString script = QString::fromUtf8(f.readAll());
    script.chop(script.endsWith(u'\n') ? 1 : 0);
    const QStringList sources{"LE", "LD", "EE", "ED"};
    // A word, or a text in double quotes after an optional "name=".
    static const QRegularExpression token("(\\S*?)\"([^\"]*)\"|(\\S+)");
    WorkspacePtr ws = Workspace::Create(path, {QStringLiteral("Scenario"), QStringLiteral("de-DE"), kMax});
    std::shared_ptr<TableSet> set = ws->Set();
    QString out;
    for (const QString &line : script.split(u'\n')) {
        if (line.startsWith(QLatin1String("  = ")))
            continue;   // what the last run showed
        out += line + u'\n';
        QStringList a;
        for (const QRegularExpressionMatch &m : token.globalMatch(line))
            a << QString(m.captured(1) + m.captured(2) + m.captured(3)).replace("\\n", "\n").replace("\\t", "\t");
        const QString command = a.value(0);
        const auto id = StringId(a.value(1).toInt());
        const auto source = StringSource(sources.indexOf(a.value(2)));
        QHash<QString, QString> options;   // name=value after a command's text
        for (const QString &option : a.mid(4))
            options.insert(option.section(u'=', 0, 0), option.section(u'=', 1));
        const auto edited = [&](const StringEntryPtr &e) {
            const bool key = options.contains("key");
            return e->CreateEdited(id, a.value(3), options.value("desc", e->EntryText()), e->Property(tpMultipleLines),
                                   e->Property(tpAllowTab), key || e->Property(tpAllowShortcut),
                                   options.value("key", e->ShortcutCharacter()), key ? 1 : e->ShortcutMode(),
                                   e->ParameterDefinitions(), true);
        };
        QStringList shown;
        if (command == "put") {
            Record r;
            r.hasText = a.value(3) != u'-';
            r.text = r.hasText ? a.value(3) : QString();
            r.revision = qint16(options.value("rev").toInt());
            r.status = options.value("status").toInt();
            r.properties = quint8(options.value("props").toInt());
            r.shortcutMode = quint8(options.value("mode").toInt());
            r.shortcutCharacter = options.value("key");
            r.description = options.value("desc");
            set->PutRecord(id, source, r);
        } else if (command == "store") {
            set->StoreEntry(a.size() > 3 ? edited(set->Entry(id, source)) : set->Entry(id, source));
        } else if (command == "add") {
            const StringEntryPtr created = ws->TextServer()->CreateEntry(set, id, source);
            set->AddEntry(a.size() > 3 ? edited(created) : created);
        } else if (command == "readd") {
            const StringEntryPtr same = set->Entry(id, source);
            set->RemoveEntry(id, source);
            set->AddEntry(same);
        } else if (command == "remove") {
            set->RemoveEntry(id, source);
        } else if (command == "symbol") {
            ws->setSymbol(id, a.value(2));
        } else if (command == "params") {
            ParameterList parameters;
            for (const QString &p : a.mid(2)) {
                const QString number = p.section(u':', 0, 0);
                parameters << ParameterDefinition(number.toInt(), p.section(u':', 1), u'%' + number);
            }
            set->setParameters(id, parameters);
        } else if (command == "save" || command == "saveas") {
            const auto version = StringSource(sources.indexOf(a.value(1)));
            if (command == "saveas")
                shown << "into " + set->SaveTableNames(version).value(1);
            set->Save(version, command == "saveas");
        } else if (command == "discard") {
            set->DiscardEdits();
        } else if (command == "reopen") {
            ws = Workspace::Open(path);
            set = ws->Set();
        } else if (command == "show") {
            for (const QString &s : a.mid(2))
                shown << s + u' ' + Shown(*set, id, StringSource(sources.indexOf(s)));
        } else if (command == "entry") {
            for (const QString &name : a.mid(2)) {
                const auto s = StringSource(sources.indexOf(name));
                const StringEntryPtr created = ws->TextServer()->CreateEntry(set, id, s);
                const StringEntryPtr entry = set->Entry(id, s);
                QString line = name + u' ' + created->TargetName() + u' ' + test::RecordLine(Stored(created));
                if (Stored(entry) != Stored(created))
                    line += " (from the set: " + test::RecordLine(Stored(entry)) + u')';
                for (const StringEntryPtr &e : {created, entry})
                    if (e->Id() != id || e->StringSource() != s || e->TextTable() != set
                        || e->ParameterDefinitions()->Count())
                        line += QLatin1String(", but an entry is another's or has definitions");
                shown << line;
            }
        } else if (command == "record") {
            const std::optional<Record> r = set->RecordOf(id, source);
            shown << (r ? test::RecordLine(*r) : QStringLiteral("none"));
        } else if (command == "english") {
            const std::optional<EntryValues> v = set->EnglishAt(id, qint16(a.value(2).toInt()));
            shown << (v ? test::Quoted(v->text) + QStringLiteral(" props %1 mode %2 key ").arg(v->properties)
                                                           .arg(v->shortcutMode) + test::Quoted(v->shortcutCharacter)
                        : QStringLiteral("none"));
        } else if (command == "disable") {
            set->SetDisabledCheckRules(a.mid(1));
        } else if (command == "disabled") {
            const QStringList rules = set->DisabledCheckRules();
            shown << (rules.isEmpty() ? QStringLiteral("none") : rules.join(u' '));
        } else if (command == "modified") {
            shown << QLatin1String(set->Modified() ? "modified" : "not modified");
        } else if (command == "idof") {
            for (const QString &symbol : a.mid(1))
                shown << test::Quoted(symbol) + u' ' + QString::number(set->IdOfSymbol(symbol));
        } else if (command == "dump") {
            shown = test::Dump(*set).split(u'\n', Qt::SkipEmptyParts);
        } else if (!command.isEmpty() && !command.startsWith(u'#')) {
            shown << "unknown command";
        }
        for (const QString &s : shown)
            out += "  = " + s + u'\n';
    }
    return out;
}

} // namespace

class TestTableSet : public QObject {
    Q_OBJECT

private slots:
    void scenarios_data()
    {
        QTest::addColumn<QString>("file");
        const QString folder = QFINDTESTDATA("data/scenarios");
        QVERIFY(!folder.isEmpty());   // else no row would run
        for (const QFileInfo &file : QDir(folder).entryInfoList({"*.txt"}))
            QTest::newRow(qPrintable(file.fileName())) << file.filePath();
    }
    void scenarios()
    {
        QFETCH(QString, file);
        const QTemporaryDir dir;
        test::CompareWithExpected(RunScenario(file, dir.filePath("scenario.kvw")), file);
    }

    // A new entry from an old one: the old unchanged, other status bits kept, the collection copied.
    void createEditedLeavesOriginalUnchanged()
    {
        Fixture f;
        Record r = Full("Save &As...", 5, sfApproved | 4);
        r.properties = tpAllowShortcut;
        f.Saved(50, ssLocalDefault, r);
        const StringEntryPtr original = f.set->Entry(50, ssLocalDefault);
        const ParameterDefinitionsPtr given = std::make_shared<ParameterCollection>();
        given->Add(1, "file name");
        const StringEntryPtr edited = original->CreateEdited(51, "neu", "other", true, true, false, "", 3, given, false);
        QCOMPARE(Stored(original), r);
        QCOMPARE(QString::number(edited->Id()) + u' ' + test::RecordLine(Stored(edited)),
                 QString(R"(51 "neu" rev 5 status 4 props 6 mode 3 key "" desc "other")"));
        given->Add(2, "later");
        QCOMPARE(edited->ParameterDefinitions()->Count() + original->ParameterDefinitions()->Count(), 1);
    }

    void parameterDefinitions()
    {
        Fixture f;
        f.Saved(60, ssEnglishDefault, Full("Copy %1 to %2"));
        const StringEntryPtr entry = f.set->Entry(60, ssEnglishDefault);
        const ParameterDefinitionsPtr p = entry->ParameterDefinitions();
        QCOMPARE(entry->ParameterDefinitions(), p);   // one working copy per entry
        QCOMPARE(p->Add(1, "source file"), ParameterDefinition(1, "source file", "%1"));
        p->Add(2, "target folder");
        QCOMPARE(ErrorOf([&] { p->Item(2); }).Number(), int(errSubscriptOutOfRange));

        // The working copy reaches the set only when the entry is stored.
        QVERIFY(f.set->Parameters(60).isEmpty());
        QVERIFY(!f.set->Modified());
        f.set->StoreEntry(f.Edited(entry, entry->Text()));
        const QList<ParameterDefinition> expected{ParameterDefinition(1, "source file", "%1"),
                                                  ParameterDefinition(2, "target folder", "%2")};
        QCOMPARE(f.set->Parameters(60), expected);
        QCOMPARE(f.set->Entry(60, ssEnglishDefault)->ParameterDefinitions()->Items(), expected);
        QCOMPARE(f.set->Revision(60, ssEnglishDefault), qint16(1));   // text unchanged

        // Clearing every definition removes them.
        const StringEntryPtr again = f.set->Entry(60, ssEnglishDefault);
        again->ParameterDefinitions()->Clear();
        f.set->StoreEntry(f.Edited(again, again->Text()));
        QVERIFY(f.set->Parameters(60).isEmpty());
        QVERIFY(!f.set->Modified());

        // A translation's entry shows the English string's definitions but does not change them.
        f.set->PutRecord(61, ssEnglishDefault, Full("%1 of %2"));
        f.set->setParameters(61, {ParameterDefinition(1, "page", "%1"), ParameterDefinition(2, "count", "%2")});
        f.set->Save(ssEnglishDefault, false);
        QCOMPARE(f.set->Entry(60, ssLocalDefault)->ParameterDefinitions()->Count(), 0);
        const StringEntryPtr translation = f.set->Entry(61, ssLocalEdited);
        QCOMPARE(translation->ParameterDefinitions()->Count(), 2);
        translation->ParameterDefinitions()->Clear();
        f.set->StoreEntry(f.Edited(translation, "%1 von %2"));
        QCOMPARE(f.set->Parameters(61).size(), 2);
    }

    void outOfRange_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<int>("source");
        QTest::newRow("id 0") << 0 << 3;
        QTest::newRow("most negative id") << -32768 << 1;
        QTest::newRow("above maximum") << kMax + 1 << 3;
        QTest::newRow("source 4") << 1 << 4;
        QTest::newRow("source -1") << 1 << -1;
    }
    void outOfRange()
    {
        QFETCH(int, id);
        QFETCH(int, source);
        Fixture f;
        const auto i = StringId(id);
        const auto s = StringSource(source);
        const bool validSource = source >= 0 && source <= 3;
        const StringEntryPtr bad = f.set->Entry(1, validSource ? s : ssEnglishDefault)
                                       ->CreateEdited(i, "x", "", false, false, false, "", 0, nullptr, true);
        const QList<std::function<void()>> calls{
            [&] { f.set->Text(i, s); }, [&] { f.set->HasText(i, s); }, [&] { f.set->Revision(i, s); },
            [&] { f.set->HasStatus(i, s, sfApproved); }, [&] { f.set->IdInUse(i, s); },
            [&] { f.set->SourceName(i, s); }, [&] { f.set->Entry(i, s); }, [&] { f.set->RemoveEntry(i, s); },
            [&] { f.server->CreateEntry(f.set, i, s); }, [&] { f.set->StoreEntry(bad); },
            [&] { f.set->AddEntry(bad); }};
        for (int n = 0; n < calls.size() - (validSource ? 0 : 2); ++n)
            QVERIFY2(ErrorOf(calls[n]).Number() == errSubscriptOutOfRange, qPrintable(QString::number(n)));
        QVERIFY(!f.set->Modified());
        QCOMPARE(TableSet::FixedSourceName(source).isEmpty(), !validSource);
    }

    void nullEntriesAreReported()
    {
        Fixture f;
        for (const std::function<void()> &call : QList<std::function<void()>>{[&] { f.set->StoreEntry(nullptr); },
                                                                              [&] { f.set->AddEntry(nullptr); },
                                                                              [&] { f.server->CreateEntry(nullptr, 1, ssLocalDefault); }})
            QCOMPARE(ErrorOf(call).Number(), int(errObjectNotSet));
    }
};

QTEST_GUILESS_MAIN(TestTableSet)
#include "tst_tableset.moc"
