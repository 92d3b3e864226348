#include "server/Entry.h"

#include "server/TableSet.h"

#include "services/ErrorContext.h"

namespace kvedit::server {

ParameterCollection::ParameterCollection(const ParameterList &items) : m_items(items) {}

QString ParameterCollection::PlaceholderOf(int id)
{
    return QLatin1Char('%') + QString::number(id);
}

ParameterDefinition ParameterCollection::Add(int id, const QString &description)
{
    ParameterDefinition definition(id, description, PlaceholderOf(id));
    m_items.append(definition);
    return definition;
}

QString ParameterCollection::ColumnKey(int column) const
{
    switch (column) {
    case 0: return QStringLiteral("id");
    case 1: return QStringLiteral("description");
    default: return {};
    }
}

QString ParameterCollection::ColumnHeading(int column) const
{
    switch (column) {
    case 0: return QStringLiteral("Number");
    case 1: return QStringLiteral("Description");
    default: return {};
    }
}

QString ParameterCollection::KeyOf(int id) const
{
    return QLatin1Char('p') + QString::number(id);
}

ParameterDefinition ParameterCollection::Item(int index) const
{
    if (index < 0 || index >= m_items.size())
        throw KvError(errSubscriptOutOfRange,
                      QStringLiteral("Parameter index %1 is outside 0 to %2").arg(index).arg(m_items.size() - 1));
    return m_items.at(index);
}

Entry::Entry(std::shared_ptr<TableSet> set, StringId id, kvedit::StringSource source, Record record,
             ParameterDefinitionsPtr parameters, QString symbol)
    : m_set(std::move(set)),
      m_id(id),
      m_source(source),
      m_record(std::move(record)),
      // Every entry has a collection, so that no dialog meets an entry without one.
      m_parameters(parameters ? std::move(parameters) : std::make_shared<ParameterCollection>()),
      m_symbol(std::move(symbol))
{
}

QString Entry::SourceText(kvedit::StringSource source) const
{
    return m_set->Text(m_id, source);
}

QString Entry::TargetName() const
{
    const QString suffix = (m_source == ssLocalEdited || m_source == ssEnglishEdited)
                               ? QStringLiteral(" edited")
                               : QStringLiteral(" default");
    return m_set->SourceLanguage(m_source).Name() + suffix;
}

StringEntryPtr Entry::CreateEdited(StringId id, const QString &text, const QString &description,
                                   bool multipleLines, bool allowTab, bool allowShortcut,
                                   const QString &shortcutCharacter, int shortcutMode,
                                   ParameterDefinitionsPtr parameters, bool valid) const
{
    Record record = m_record;   // keeps the revision and any other status bits
    // An empty text is no translation at all, so it still counts as missing.
    record.hasText = !text.isEmpty();
    record.text = record.hasText ? text : QString();
    record.description = description;
    record.properties = static_cast<quint8>((allowShortcut ? tpAllowShortcut : 0)
                                            | (multipleLines ? tpMultipleLines : 0)
                                            | (allowTab ? tpAllowTab : 0));
    record.shortcutCharacter = shortcutCharacter;
    record.shortcutMode = static_cast<quint8>(shortcutMode >= 0 && shortcutMode <= 4 ? shortcutMode : 0);
    record.status = valid ? (record.status | sfApproved) : (record.status & ~sfApproved);

    // No collection given keeps the definitions this entry has.
    auto copy = std::make_shared<ParameterCollection>((parameters ? parameters : m_parameters)->Items());
    return std::make_shared<Entry>(m_set, id, m_source, std::move(record), std::move(copy), m_symbol);
}

StringTableSetPtr Entry::TextTable() const
{
    return m_set;
}

} // namespace kvedit::server
