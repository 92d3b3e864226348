#include "EditorTestSupport.h"

#include "dataview/UCKvDataView.h"
#include "services/ErrorContext.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QTimer>
#include <QToolBar>
#include <QtTest>

namespace kvedit::test {

void PutSource(const StringTableSetPtr &tables, StringId id, const QString &text, bool allowShortcut)
{
    const StringEntryPtr current = tables->Entry(id, ssEnglishDefault);
    tables->StoreEntry(current->CreateEdited(id, text, current->EntryText(), false, false, allowShortcut,
                                             current->ShortcutCharacter(), current->ShortcutMode(),
                                             current->ParameterDefinitions(), false));
}

void PutTranslation(const StringTableSetPtr &tables, StringId id, StringSource source, const QString &text, bool valid)
{
    const StringEntryPtr current = tables->Entry(id, source);
    tables->StoreEntry(current->CreateEdited(id, text, current->EntryText(), current->Property(tpMultipleLines),
                                             current->Property(tpAllowTab), current->Property(tpAllowShortcut),
                                             current->ShortcutCharacter(), current->ShortcutMode(),
                                             current->ParameterDefinitions(), valid));
}

server::WorkspacePtr WorkspaceWithStrings(const QStringList &texts, int maximumCount)
{
    auto ws = server::Workspace::CreateInMemory({QStringLiteral("Editor test"), QStringLiteral("de-DE"), maximumCount});
    const StringTableSetPtr tables = ws->Tables();
    StringId id = 0;
    for (const QString &text : texts) {
        ++id;
        if (text.startsWith(u'^'))
            PutSource(tables, id, text.mid(1), true);
        else
            PutSource(tables, id, text);
    }
    tables->Save(ssEnglishDefault, false);
    return ws;
}

void CountingTables::DiscardEdits()
{
    ++discards;
    m_inner->DiscardEdits();
}

void CountingTables::Save(TableVersion version, bool saveAs)
{
    ++saves;
    if (failSave)
        throw KvError(errStorage, QStringLiteral("The workspace file is read-only"));
    m_inner->Save(version, saveAs);
}

namespace {

class CountingServer final : public TextServer {
public:
    CountingServer(TextServerPtr inner, std::shared_ptr<CountingTables> tables)
        : m_inner(std::move(inner)), m_tables(std::move(tables))
    {
    }
    LocalePtr Locale() const override { return m_inner->Locale(); }
    StringEntryPtr CreateEntry(const StringTableSetPtr &set, StringId id, StringSource source) override
    {
        // The real server makes entries only for its own set.
        return m_inner->CreateEntry(set == m_tables ? m_tables->Inner() : set, id, source);
    }
    int MaximumCount() const override { return m_inner->MaximumCount(); }
    StringTableSetPtr StringTableSet() const override { return m_tables; }

private:
    TextServerPtr m_inner;
    std::shared_ptr<CountingTables> m_tables;
};

} // namespace

CountingWorkspace::CountingWorkspace(server::WorkspacePtr inner)
    : tables(std::make_shared<CountingTables>(inner->Tables())),
      m_inner(std::move(inner)),
      m_server(std::make_shared<CountingServer>(m_inner->TextServer(), tables))
{
}

std::unique_ptr<frmEdit> OpenEditor(const ResourceWorkspacePtr &rfw, TableVersion version)
{
    auto form = std::make_unique<frmEdit>();
    form->Prepare(rfw, version);
    form->show();
    if (!QTest::qWaitForWindowActive(form.get(), 2000))
        qWarning("the editor window did not become active");
    return form;
}

struct ModalDriver::State {
    std::function<void(QWidget *)> action;
    bool stopped = false;
    bool ran = false;
};

ModalDriver::ModalDriver(std::function<void(QWidget *)> action) : m_state(std::make_shared<State>())
{
    m_state->action = std::move(action);
    Poll(m_state);
}

ModalDriver::~ModalDriver()
{
    m_state->stopped = true;
}

bool ModalDriver::Ran() const
{
    return m_state->ran;
}

void ModalDriver::Poll(const std::shared_ptr<State> &state)
{
    QTimer::singleShot(5, [state] {
        if (state->stopped)
            return;
        // The editor itself runs application-modal; the dialog is what comes up over it.
        if (auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget())) {
            state->stopped = true;
            state->ran = true;
            state->action(dialog);
            return;
        }
        Poll(state);
    });
}

void PutBlanks(const server::WorkspacePtr &ws, StringSource source, const QList<StringId> &ids)
{
    const StringTableSetPtr tables = ws->Tables();
    for (StringId id : ids)
        tables->AddEntry(ws->TextServer()->CreateEntry(tables, id, source));
}

QStringList ToolbarLayout(frmEdit &form)
{
    QStringList layout;
    QToolBar *toolbar = form.ToolBar();
    for (QAction *action : toolbar->actions()) {
        QString key = action->isSeparator() ? QStringLiteral("|") : frmEdit::MenuKey(action);
        const QWidget *button = toolbar->widgetForAction(action);
        if (!button || !button->isVisibleTo(&form))
            key = u'[' + key + u']';
        layout << key;
    }
    return layout;
}

} // namespace kvedit::test
