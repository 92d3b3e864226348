#include "server/Workspace.h"

#include "server/SqliteStore.h"
#include "server/TableSet.h"

#include "model/StandardLocale.h"
#include "services/ErrorContext.h"

Q_LOGGING_CATEGORY(lcServer, "kvedit.server")

namespace kvedit::server {

namespace {

class WorkspaceTextServer final : public kvedit::TextServer {
public:
    WorkspaceTextServer(std::shared_ptr<TableSet> set, int maximumCount)
        : m_set(std::move(set)), m_maximumCount(maximumCount)
    {
    }

    LocalePtr Locale() const override { return StandardLocale(); }

    StringEntryPtr CreateEntry(const StringTableSetPtr &set, StringId id, kvedit::StringSource source) override
    {
        Require(set, "string table set");
        const auto *own = dynamic_cast<const TableSet *>(set.get());
        if (!own)
            throw KvError(errServer, QStringLiteral("The string table set does not belong to this server"));
        return own->BlankEntry(id, source);
    }

    int MaximumCount() const override { return m_maximumCount; }
    StringTableSetPtr StringTableSet() const override { return m_set; }

private:
    std::shared_ptr<TableSet> m_set;
    int m_maximumCount;
};

} // namespace

class Workspace::Impl {
public:
    Impl(std::shared_ptr<SqliteStore> store, TableContents contents)
        : info(store->Info()),
          path(store->Path()),
          set(std::make_shared<TableSet>(store, std::move(contents), info.maximumCount, info.targetLanguage)),
          server(std::make_shared<WorkspaceTextServer>(set, info.maximumCount))
    {
    }

    WorkspaceInfo info;
    QString path;
    std::shared_ptr<TableSet> set;
    std::shared_ptr<WorkspaceTextServer> server;
    std::optional<QPoint> hostWindowPosition;
};

Workspace::Workspace(std::unique_ptr<Impl> impl) : d(std::move(impl)) {}

Workspace::~Workspace() = default;

std::shared_ptr<Workspace> Workspace::Create(const QString &path, const WorkspaceInfo &info)
{
    if (path.isEmpty())
        throw KvError(errInvalidCall, QStringLiteral("Cannot create a workspace without a file name"));
    std::shared_ptr<SqliteStore> store = SqliteStore::Create(path, info);
    TableContents contents;
    contents.reset(store->Info().maximumCount);
    qCInfo(lcServer) << "created workspace" << path;
    return std::shared_ptr<Workspace>(new Workspace(std::make_unique<Impl>(std::move(store), std::move(contents))));
}

std::shared_ptr<Workspace> Workspace::Open(const QString &path, TextLoading loading)
{
    TableContents contents;
    std::shared_ptr<SqliteStore> store = SqliteStore::Open(path, contents, loading == TextLoading::FirstScreenFirst);
    qCInfo(lcServer) << "opened workspace" << path;
    return std::shared_ptr<Workspace>(new Workspace(std::make_unique<Impl>(std::move(store), std::move(contents))));
}

std::shared_ptr<Workspace> Workspace::CreateInMemory(const WorkspaceInfo &info)
{
    std::shared_ptr<SqliteStore> store = SqliteStore::Create(QString(), info);
    TableContents contents;
    contents.reset(store->Info().maximumCount);
    return std::shared_ptr<Workspace>(new Workspace(std::make_unique<Impl>(std::move(store), std::move(contents))));
}

TextServerPtr Workspace::TextServer() const
{
    return d->server;
}

QString Workspace::Name() const
{
    return d->info.name;
}

std::optional<QPoint> Workspace::HostWindowPosition() const
{
    return d->hostWindowPosition;
}

void Workspace::setHostWindowPosition(std::optional<QPoint> position)
{
    d->hostWindowPosition = position;
}

QString Workspace::FilePath() const
{
    return d->path;
}

WorkspaceInfo Workspace::Info() const
{
    return d->info;
}

StringTableSetPtr Workspace::Tables() const
{
    return d->set;
}

std::shared_ptr<TableSet> Workspace::Set() const
{
    return d->set;
}

QString Workspace::Symbol(StringId id) const
{
    return d->set->Symbol(id);
}

void Workspace::setSymbol(StringId id, const QString &symbol)
{
    d->set->setSymbol(id, symbol);
}

} // namespace kvedit::server
