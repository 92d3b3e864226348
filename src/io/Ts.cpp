#include "io/Ts.h"

#include "io/ExchangeRules.h"

#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace kvedit::io {

namespace {

bool IsXmlCharacter(char32_t c)
{
    return c == 0x09 || c == 0x0A || c == 0x0D || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD)
           || (c >= 0x10000 && c <= 0x10FFFF);
}

// Text that reads back the same: a carriage return as a character reference (a parser turns a
// raw one into a line feed), a character XML cannot hold as a <byte> element.
void WriteText(QXmlStreamWriter &w, const QString &text)
{
    qsizetype runStart = 0;
    auto flush = [&](qsizetype end) {
        if (end > runStart)
            w.writeCharacters(text.mid(runStart, end - runStart));
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text.at(i).unicode();
        if (text.at(i).isSurrogate())
            continue;   // pairs are characters XML holds; a lone half cannot be written at all
        if (c == u'\r' || !IsXmlCharacter(c)) {
            flush(i);
            if (c == u'\r') {
                w.writeEntityReference(QStringLiteral("#13"));
            } else {
                w.writeEmptyElement(QStringLiteral("byte"));
                w.writeAttribute(QStringLiteral("value"), QStringLiteral("x") + QString::number(c, 16));
            }
            runStart = i + 1;
        }
    }
    flush(text.size());
}

// Indenting inside a text element would add white space to the text.
void WriteTextElement(QXmlStreamWriter &w, const QString &name, const QString &text,
                      const QString &type = QString())
{
    w.writeStartElement(name);
    if (!type.isEmpty())
        w.writeAttribute(QStringLiteral("type"), type);
    w.setAutoFormatting(false);
    WriteText(w, text);
    w.writeEndElement();
    w.setAutoFormatting(true);
}

QString TsLanguage(const QString &tag)
{
    return QString(tag).replace(u'-', u'_');
}

class Reader {
public:
    Reader(const QByteArray &data, const QString &file) : m_xml(data), m_file(file) {}
    Reader(QIODevice *device, const QString &file) : m_xml(device), m_file(file) {}

    ResourceStrings Run()
    {
        m_result.file = m_file;
        if (!m_xml.readNextStartElement())
            Fail(m_xml.hasError() ? m_xml.errorString() : QStringLiteral("the file holds no TS document"));
        if (m_xml.name() != QLatin1String("TS"))
            Fail(QStringLiteral("this is not a TS file (its root element is <%1>)").arg(m_xml.name()));
        const QXmlStreamAttributes a = m_xml.attributes();
        m_result.languageTag = a.value(QLatin1String("language")).toString().trimmed().replace(u'_', u'-');
        m_result.sourceLanguageTag = a.value(QLatin1String("sourcelanguage")).toString().trimmed().replace(u'_', u'-');
        m_result.languageLine = Line();
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() == QLatin1String("context"))
                ReadContext();
            else
                m_xml.skipCurrentElement();
        }
        if (m_xml.hasError())
            Fail(m_xml.errorString());
        if (m_obsolete > 0)
            m_result.notes.append({Diagnostic::Note, m_file, 0,
                                   QStringLiteral("%1 obsolete or vanished messages are left out").arg(m_obsolete)});
        return m_result;
    }

private:
    [[noreturn]] void Fail(const QString &message, int line = 0)
    {
        throw FileError(m_file, line > 0 ? line : Line(), message);
    }

    int Line() const { return static_cast<int>(m_xml.lineNumber()); }

    void ReadContext()
    {
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() == QLatin1String("message"))
                ReadMessage();
            else
                m_xml.skipCurrentElement();
        }
    }

    void ReadMessage()
    {
        const int line = Line();
        const QXmlStreamAttributes a = m_xml.attributes();
        const QString idAttribute = a.value(QLatin1String("id")).toString().trimmed();
        const bool plural = a.value(QLatin1String("numerus")) == QLatin1String("yes");
        std::optional<QString> source;
        QString comment, extraComment, translation, type;
        QList<std::pair<QString, QString>> locations;
        while (m_xml.readNextStartElement()) {
            const QStringView name = m_xml.name();
            if (name == QLatin1String("source")) {
                source = ReadText();
            } else if (name == QLatin1String("comment")) {
                comment = ReadText();
            } else if (name == QLatin1String("extracomment")) {
                extraComment = ReadText();
            } else if (name == QLatin1String("location")) {
                locations.append({m_xml.attributes().value(QLatin1String("filename")).toString(),
                                  m_xml.attributes().value(QLatin1String("line")).toString()});
                m_xml.skipCurrentElement();
            } else if (name == QLatin1String("translation")) {
                type = m_xml.attributes().value(QLatin1String("type")).toString();
                translation = ReadText();
            } else {
                m_xml.skipCurrentElement();
            }
        }
        if (m_xml.hasError())
            return;
        if (!source)
            Fail(QStringLiteral("a message has no <source>"), line);
        const QString key = comment.isEmpty() ? idAttribute : comment;
        if (plural)
            Fail(QStringLiteral("the message \"%1\" has plural forms, which a string cannot hold").arg(key.isEmpty() ? *source : key),
                 line);
        if (type == QLatin1String("obsolete") || type == QLatin1String("vanished")) {
            ++m_obsolete;
            return;
        }

        ImportedString s;
        s.file = m_file;
        s.line = line;
        int idOfSymbol = 0;
        for (const auto &[file, number] : std::as_const(locations))
            if (file == key && number.toInt() > 0)
                idOfSymbol = number.toInt();
        ApplyKey(s, key, idOfSymbol);
        s.sourceText = s.text = *source;
        if (!extraComment.isEmpty())
            s.description = extraComment;
        const TextTraits traits = AnalyseText(s.sourceText);
        s.properties = TextProperties::FromTraits(traits);
        for (const int p : traits.parameterIds)
            s.parameters.append(ParameterDefinition(p, QString(), QLatin1Char('%') + QString::number(p)));
        s.approvalKnown = false;
        if (!translation.isEmpty()) {
            s.target = translation;
            s.state = type == QLatin1String("unfinished") ? TranslationState::OutOfDate : TranslationState::Unapproved;
            s.targetProperties = TextProperties::FromTraits(AnalyseText(translation));
        }
        m_result.strings.append(s);
    }

    // The text of an element: <byte value="xN"/> gives its character; of several length
    // variants the first, the full text, counts.
    QString ReadText()
    {
        QString text;
        bool variantRead = false;
        while (!m_xml.atEnd()) {
            const QXmlStreamReader::TokenType t = m_xml.readNext();
            if (t == QXmlStreamReader::Characters || t == QXmlStreamReader::EntityReference) {
                text += m_xml.text();
            } else if (t == QXmlStreamReader::StartElement) {
                const QStringView name = m_xml.name();
                if (name == QLatin1String("byte")) {
                    text += CharacterOf(m_xml.attributes().value(QLatin1String("value")));
                    m_xml.skipCurrentElement();
                } else if (name == QLatin1String("numerusform")) {
                    Fail(QStringLiteral("a translation has plural forms, which a string cannot hold"));
                } else if (name == QLatin1String("lengthvariant") && !variantRead) {
                    variantRead = true;
                    text += ReadText();
                } else {
                    m_xml.skipCurrentElement();
                }
            } else if (t == QXmlStreamReader::EndElement) {
                break;
            }
        }
        return text;
    }

    QString CharacterOf(QStringView value)
    {
        bool ok = false;
        const uint code = value.startsWith(u'x') ? value.mid(1).toUInt(&ok, 16) : value.toUInt(&ok, 10);
        if (!ok || code > 0xFFFF)
            Fail(QStringLiteral("<byte value=\"%1\"/> is not a character").arg(value));
        return QString(QChar(static_cast<char16_t>(code)));
    }

    QXmlStreamReader m_xml;
    QString m_file;
    ResourceStrings m_result;
    int m_obsolete = 0;
};

} // namespace

QByteArray WriteTs(const TsDocument &document)
{
    QByteArray data;
    QXmlStreamWriter w(&data);
    w.setAutoFormatting(true);
    w.setAutoFormattingIndent(4);
    w.writeStartDocument();
    w.writeDTD(QStringLiteral("<!DOCTYPE TS>"));
    w.writeStartElement(QStringLiteral("TS"));
    w.writeAttribute(QStringLiteral("version"), QStringLiteral("2.1"));
    const bool withTargets = !document.language.isEmpty();
    if (withTargets)
        w.writeAttribute(QStringLiteral("language"), TsLanguage(document.language));
    w.writeAttribute(QStringLiteral("sourcelanguage"), QStringLiteral("en_US"));
    w.writeStartElement(QStringLiteral("context"));
    WriteTextElement(w, QStringLiteral("name"), document.context.isEmpty() ? QStringLiteral("strings") : document.context);
    for (const ImportedString &u : document.units) {
        w.writeStartElement(QStringLiteral("message"));
        if (!u.symbol.isEmpty()) {
            w.writeEmptyElement(QStringLiteral("location"));
            w.writeAttribute(QStringLiteral("filename"), u.symbol);
            w.writeAttribute(QStringLiteral("line"), QString::number(u.id));
        }
        WriteTextElement(w, QStringLiteral("source"), u.sourceText);
        WriteTextElement(w, QStringLiteral("comment"), KeyOf(u));
        if (u.description && !u.description->isEmpty())
            WriteTextElement(w, QStringLiteral("extracomment"), *u.description);
        const bool translated = withTargets && u.target && u.state != TranslationState::Missing && !u.target->isEmpty();
        WriteTextElement(w, QStringLiteral("translation"), translated ? *u.target : QString(),
                         !translated || u.state == TranslationState::OutOfDate ? QStringLiteral("unfinished") : QString());
        w.writeEndElement();   // message
    }
    w.writeEndElement();   // context
    w.writeEndElement();   // TS
    w.writeEndDocument();
    return data;
}

ResourceStrings ReadTsData(const QByteArray &data, const QString &fileName)
{
    return Reader(data, fileName).Run();
}

ResourceStrings ReadTs(const QString &file)
{
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly))
        throw FileError(file, 0, QStringLiteral("cannot read the file: %1").arg(f.errorString()));
    // Read as it streams in: a large file is not held twice.
    return Reader(&f, QFileInfo(file).absoluteFilePath()).Run();
}

} // namespace kvedit::io
