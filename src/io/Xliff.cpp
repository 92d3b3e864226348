#include "io/Xliff.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace kvedit::io {

namespace {

const QString kNamespace = QStringLiteral("urn:oasis:names:tc:xliff:document:1.2");
const QString kSourceGroup = QStringLiteral("x-kvedit-source");
const QString kTargetGroup = QStringLiteral("x-kvedit-target");
const QString kMultipleLines = QStringLiteral("x-kvedit-multiple-lines");
const QString kAllowTab = QStringLiteral("x-kvedit-allow-tab");
const QString kAllowShortcut = QStringLiteral("x-kvedit-allow-shortcut");
const QString kShortcutCharacter = QStringLiteral("x-kvedit-shortcut-character");
const QString kShortcutMode = QStringLiteral("x-kvedit-shortcut-mode");
const QString kParameterPrefix = QStringLiteral("x-kvedit-parameter-");
const QString kCharacterType = QStringLiteral("x-kvedit-char");

// Characters XML 1.0 cannot hold at all, even as references.
bool IsXmlCharacter(char32_t c)
{
    return c == 0x09 || c == 0x0A || c == 0x0D || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD)
           || (c >= 0x10000 && c <= 0x10FFFF);
}

// Writes text so that it reads back the same: a carriage return as a character reference (a
// parser would turn a raw one into a line feed), a character XML cannot hold as a placeholder
// element naming its code.
void WriteText(QXmlStreamWriter &w, const QString &text, bool allowElements, int *placeholder)
{
    QString run;
    auto flush = [&] {
        if (!run.isEmpty())
            w.writeCharacters(run);
        run.clear();
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t c = text.at(i).unicode();
        qsizetype width = 1;
        if (text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            c = QChar::surrogateToUcs4(text.at(i), text.at(i + 1));
            width = 2;
        }
        if (c == 0x0D) {
            flush();
            w.writeEntityReference(QStringLiteral("#13"));
        } else if (!IsXmlCharacter(c)) {
            flush();
            if (allowElements) {
                w.writeStartElement(QStringLiteral("ph"));
                w.writeAttribute(QStringLiteral("id"), QStringLiteral("c%1").arg(++*placeholder));
                w.writeAttribute(QStringLiteral("ctype"), kCharacterType);
                w.writeCharacters(QStringLiteral("U+") + QString::number(static_cast<uint>(c), 16).toUpper().rightJustified(4, u'0'));
                w.writeEndElement();
            }
        } else {
            run += text.mid(i, width);
        }
        i += width - 1;
    }
    flush();
}

void WriteContext(QXmlStreamWriter &w, const QString &type, const QString &value)
{
    w.writeStartElement(QStringLiteral("context"));
    w.writeAttribute(QStringLiteral("context-type"), type);
    int none = 0;
    WriteText(w, value, false, &none);
    w.writeEndElement();
}

QString YesNo(bool value)
{
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

void WriteProperties(QXmlStreamWriter &w, const QString &purpose, const TextProperties &p,
                     const QList<ParameterDefinition> &parameters)
{
    w.writeStartElement(QStringLiteral("context-group"));
    w.writeAttribute(QStringLiteral("purpose"), purpose);
    WriteContext(w, kMultipleLines, YesNo(p.properties & tpMultipleLines));
    WriteContext(w, kAllowTab, YesNo(p.properties & tpAllowTab));
    WriteContext(w, kAllowShortcut, YesNo(p.properties & tpAllowShortcut));
    WriteContext(w, kShortcutCharacter, p.shortcutCharacter);
    WriteContext(w, kShortcutMode, QString::number(p.shortcutMode));
    for (const ParameterDefinition &d : parameters)
        WriteContext(w, kParameterPrefix + QString::number(d.Id()), d.Description());
    w.writeEndElement();
}

// What one context group of ours says.
struct PropertyGroup {
    bool present = false;
    TextProperties properties;
    QList<ParameterDefinition> parameters;
};

class Reader {
public:
    Reader(const QByteArray &data, const QString &file) : m_xml(data), m_file(file) {}

    ResourceStrings Run()
    {
        m_result.file = m_file;
        // One root element; reading on past its end would only report a premature end.
        if (!m_xml.readNextStartElement())
            Fail(m_xml.hasError() ? m_xml.errorString() : QStringLiteral("the file holds no XLIFF document"));
        if (m_xml.name() != QLatin1String("xliff"))
            Fail(QStringLiteral("this is not an XLIFF file (its root element is <%1>)").arg(m_xml.name()));
        const QString version = m_xml.attributes().value(QLatin1String("version")).toString();
        if (version.startsWith(u'2'))
            Fail(QStringLiteral("XLIFF %1 is not supported; only XLIFF 1.x is").arg(version));
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() == QLatin1String("file"))
                ReadFile();
            else
                m_xml.skipCurrentElement();
        }
        if (m_xml.hasError())
            Fail(m_xml.errorString());
        return m_result;
    }

private:
    [[noreturn]] void Fail(const QString &message)
    {
        throw FileError(m_file, static_cast<int>(m_xml.lineNumber()), message);
    }

    void Note(int line, const QString &message)
    {
        m_result.notes.append({Diagnostic::Note, m_file, line, message});
    }

    void ReadFile()
    {
        const QXmlStreamAttributes a = m_xml.attributes();
        const QString source = a.value(QLatin1String("source-language")).toString();
        const QString target = a.value(QLatin1String("target-language")).toString();
        if (m_result.sourceLanguageTag.isEmpty())
            m_result.sourceLanguageTag = source;
        if (m_result.languageTag.isEmpty())
            m_result.languageTag = target;
        else if (!target.isEmpty() && target != m_result.languageTag)
            Note(static_cast<int>(m_xml.lineNumber()),
                 QStringLiteral("this <file> is in %1, the first one in %2").arg(target, m_result.languageTag));
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() == QLatin1String("body"))
                ReadGroup();
            else
                m_xml.skipCurrentElement();
        }
    }

    // <body> and <group>: units at any depth.
    void ReadGroup()
    {
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() == QLatin1String("trans-unit"))
                ReadUnit();
            else if (m_xml.name() == QLatin1String("group"))
                ReadGroup();
            else
                m_xml.skipCurrentElement();
        }
    }

    void ReadUnit()
    {
        const int line = static_cast<int>(m_xml.lineNumber());
        const QXmlStreamAttributes a = m_xml.attributes();
        const QString idText = a.value(QLatin1String("id")).toString().trimmed();
        const QString resname = a.value(QLatin1String("resname")).toString().trimmed();
        const bool approved = a.value(QLatin1String("approved")) == QLatin1String("yes");

        ImportedString s;
        s.file = m_file;
        s.line = line;
        bool numeric = false;
        const int id = idText.toInt(&numeric);
        s.id = numeric ? id : 0;
        s.symbol = resname.isEmpty() && !numeric ? idText : resname;
        if (!numeric && s.symbol.isEmpty())
            Fail(QStringLiteral("a trans-unit has neither a numeric id nor a resname"));

        bool haveSource = false;
        std::optional<QString> target;
        QString state;
        PropertyGroup sourceGroup;
        PropertyGroup targetGroup;
        while (m_xml.readNextStartElement()) {
            const QStringView name = m_xml.name();
            if (name == QLatin1String("source")) {
                s.sourceText = ReadInline();
                haveSource = true;
            } else if (name == QLatin1String("target")) {
                state = m_xml.attributes().value(QLatin1String("state")).toString();
                target = ReadInline();
            } else if (name == QLatin1String("note")) {
                const QString note = m_xml.readElementText(QXmlStreamReader::IncludeChildElements);
                if (!s.description)
                    s.description = note;
            } else if (name == QLatin1String("context-group")) {
                const QString purpose = m_xml.attributes().value(QLatin1String("purpose")).toString();
                if (purpose == kSourceGroup)
                    sourceGroup = ReadPropertyGroup();
                else if (purpose == kTargetGroup)
                    targetGroup = ReadPropertyGroup();
                else
                    m_xml.skipCurrentElement();
            } else {
                m_xml.skipCurrentElement();
            }
        }
        if (m_xml.hasError())
            return;
        if (!haveSource)
            Fail(QStringLiteral("the trans-unit \"%1\" has no <source>").arg(idText));

        s.text = s.sourceText;
        s.properties = sourceGroup.present ? sourceGroup.properties
                                           : TextProperties::FromTraits(AnalyseText(s.sourceText));
        s.propertiesGiven = sourceGroup.present;
        if (sourceGroup.present) {
            s.parameters = sourceGroup.parameters;
            s.parametersGiven = true;
        } else {
            for (const int p : AnalyseText(s.sourceText).parameterIds)
                s.parameters.append(ParameterDefinition(p, QString(), QLatin1Char('%') + QString::number(p)));
        }
        s.state = TranslationStateOf(state, target && !target->isEmpty(), approved);
        if (s.state != TranslationState::Missing) {
            s.target = target;
            s.targetApproved = approved || s.state == TranslationState::Approved;
            s.targetProperties = targetGroup.present ? targetGroup.properties
                                                     : TextProperties::FromTraits(AnalyseText(*target));
            s.targetPropertiesGiven = targetGroup.present;
        }
        m_result.strings.append(s);
    }

    PropertyGroup ReadPropertyGroup()
    {
        PropertyGroup g;
        g.present = true;
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() != QLatin1String("context")) {
                m_xml.skipCurrentElement();
                continue;
            }
            const QString type = m_xml.attributes().value(QLatin1String("context-type")).toString();
            const QString value = m_xml.readElementText(QXmlStreamReader::IncludeChildElements);
            const bool yes = value.trimmed() == QLatin1String("yes");
            if (type == kMultipleLines)
                g.properties.properties |= yes ? tpMultipleLines : 0;
            else if (type == kAllowTab)
                g.properties.properties |= yes ? tpAllowTab : 0;
            else if (type == kAllowShortcut)
                g.properties.properties |= yes ? tpAllowShortcut : 0;
            else if (type == kShortcutCharacter)
                g.properties.shortcutCharacter = value;
            else if (type == kShortcutMode)
                g.properties.shortcutMode = qBound(0, value.trimmed().toInt(), 4);
            else if (type.startsWith(kParameterPrefix)) {
                bool ok = false;
                const int id = type.mid(kParameterPrefix.size()).toInt(&ok);
                if (ok && id > 0)
                    g.parameters.append(ParameterDefinition(id, value, QLatin1Char('%') + QString::number(id)));
            }
        }
        return g;
    }

    // The text of <source> or <target>, inline markup flattened: <g> and <mrk> give their
    // content, native-code elements (<ph>, <bpt>, <ept>, <it>) the code they hold, and empty
    // placeholders (<x>, <bx>, <ex>) nothing. Our own character placeholders give their
    // character back.
    QString ReadInline()
    {
        QString text;
        while (!m_xml.atEnd()) {
            const QXmlStreamReader::TokenType t = m_xml.readNext();
            if (t == QXmlStreamReader::Characters || t == QXmlStreamReader::EntityReference) {
                text += m_xml.text();
            } else if (t == QXmlStreamReader::StartElement) {
                const QStringView name = m_xml.name();
                if (name == QLatin1String("g") || name == QLatin1String("mrk")) {
                    text += ReadInline();
                } else if (name == QLatin1String("ph") || name == QLatin1String("bpt")
                           || name == QLatin1String("ept") || name == QLatin1String("it")) {
                    const bool ours = m_xml.attributes().value(QLatin1String("ctype")) == kCharacterType;
                    const QString code = ReadNativeCode();
                    text += ours ? CharacterOf(code) : code;
                } else {
                    m_xml.skipCurrentElement();
                }
            } else if (t == QXmlStreamReader::EndElement) {
                break;
            }
        }
        return text;
    }

    // The character data of a native-code element, without its <sub> flows.
    QString ReadNativeCode()
    {
        QString text;
        while (!m_xml.atEnd()) {
            const QXmlStreamReader::TokenType t = m_xml.readNext();
            if (t == QXmlStreamReader::Characters || t == QXmlStreamReader::EntityReference)
                text += m_xml.text();
            else if (t == QXmlStreamReader::StartElement)
                m_xml.skipCurrentElement();
            else if (t == QXmlStreamReader::EndElement)
                break;
        }
        return text;
    }

    static QString CharacterOf(const QString &code)
    {
        bool ok = false;
        const uint value = code.trimmed().mid(2).toUInt(&ok, 16);
        if (!code.trimmed().startsWith(QLatin1String("U+")) || !ok || value > 0x10FFFF)
            return code;
        if (value > 0xFFFF) {
            const char32_t ucs4 = value;
            return QString::fromUcs4(&ucs4, 1);
        }
        return QString(QChar(static_cast<char16_t>(value)));
    }

    QXmlStreamReader m_xml;
    QString m_file;
    ResourceStrings m_result;
};

} // namespace

QString XliffStateOf(TranslationState state)
{
    switch (state) {
    case TranslationState::Missing: return QStringLiteral("new");
    case TranslationState::OutOfDate: return QStringLiteral("needs-review-translation");
    case TranslationState::Unapproved: return QStringLiteral("translated");
    case TranslationState::Approved: return QStringLiteral("signed-off");
    }
    return {};
}

TranslationState TranslationStateOf(const QString &state, bool hasText, bool approvedAttribute)
{
    if (!hasText || state == QLatin1String("new") || state == QLatin1String("needs-translation"))
        return TranslationState::Missing;
    if (state.startsWith(QLatin1String("needs-")))
        return TranslationState::OutOfDate;   // needs review, adaptation or localisation
    if (state == QLatin1String("signed-off") || state == QLatin1String("final") || approvedAttribute)
        return TranslationState::Approved;
    return TranslationState::Unapproved;   // "translated", an extension state, or none
}

QByteArray WriteXliff(const XliffDocument &document)
{
    QByteArray data;
    QXmlStreamWriter w(&data);
    w.setAutoFormatting(true);
    w.setAutoFormattingIndent(2);
    w.writeStartDocument();
    w.writeDefaultNamespace(kNamespace);
    w.writeStartElement(QStringLiteral("xliff"));
    w.writeAttribute(QStringLiteral("version"), QStringLiteral("1.2"));
    w.writeStartElement(QStringLiteral("file"));
    w.writeAttribute(QStringLiteral("original"),
                     document.original.isEmpty() ? QStringLiteral("strings") : document.original);
    w.writeAttribute(QStringLiteral("source-language"), document.sourceLanguage);
    if (!document.targetLanguage.isEmpty())
        w.writeAttribute(QStringLiteral("target-language"), document.targetLanguage);
    w.writeAttribute(QStringLiteral("datatype"), QStringLiteral("winres"));
    w.writeAttribute(QStringLiteral("tool-id"), QStringLiteral("kvedit"));
    w.writeStartElement(QStringLiteral("header"));
    w.writeEmptyElement(QStringLiteral("tool"));
    w.writeAttribute(QStringLiteral("tool-id"), QStringLiteral("kvedit"));
    w.writeAttribute(QStringLiteral("tool-name"), QStringLiteral("kvedit"));
    if (!QCoreApplication::applicationVersion().isEmpty())
        w.writeAttribute(QStringLiteral("tool-version"), QCoreApplication::applicationVersion());
    w.writeEndElement();   // header
    w.writeStartElement(QStringLiteral("body"));
    const bool withTargets = !document.targetLanguage.isEmpty();
    for (const ImportedString &u : document.units) {
        int placeholder = 0;
        w.writeStartElement(QStringLiteral("trans-unit"));
        w.writeAttribute(QStringLiteral("id"), QString::number(u.id));
        if (!u.symbol.isEmpty())
            w.writeAttribute(QStringLiteral("resname"), u.symbol);
        // The approval mark travels in the unit's attribute: an out-of-date translation can
        // still carry it, which its state cannot say.
        if (withTargets && u.target && u.state != TranslationState::Missing
            && (u.targetApproved || u.state == TranslationState::Approved))
            w.writeAttribute(QStringLiteral("approved"), QStringLiteral("yes"));
        w.writeAttribute(QStringLiteral("xml:space"), QStringLiteral("preserve"));
        // Indenting inside <source> and <target> would add white space to the text.
        w.writeStartElement(QStringLiteral("source"));
        w.setAutoFormatting(false);
        WriteText(w, u.sourceText, true, &placeholder);
        w.writeEndElement();
        w.setAutoFormatting(true);
        if (withTargets) {
            w.writeStartElement(QStringLiteral("target"));
            w.writeAttribute(QStringLiteral("state"), XliffStateOf(u.target ? u.state : TranslationState::Missing));
            w.setAutoFormatting(false);
            if (u.target && u.state != TranslationState::Missing)
                WriteText(w, *u.target, true, &placeholder);
            w.writeEndElement();
            w.setAutoFormatting(true);
        }
        WriteProperties(w, kSourceGroup, u.properties, u.parameters);
        if (withTargets && u.target && u.state != TranslationState::Missing)
            WriteProperties(w, kTargetGroup, u.targetProperties, {});
        if (u.description && !u.description->isEmpty()) {
            w.writeStartElement(QStringLiteral("note"));
            int none = 0;
            WriteText(w, *u.description, false, &none);
            w.writeEndElement();
        }
        w.writeEndElement();   // trans-unit
    }
    w.writeEndElement();   // body
    w.writeEndElement();   // file
    w.writeEndElement();   // xliff
    w.writeEndDocument();
    return data;
}

ResourceStrings ReadXliffData(const QByteArray &data, const QString &fileName)
{
    return Reader(data, fileName).Run();
}

ResourceStrings ReadXliff(const QString &file)
{
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly))
        throw FileError(file, 0, QStringLiteral("cannot read the file: %1").arg(f.errorString()));
    return ReadXliffData(f.readAll(), QFileInfo(file).absoluteFilePath());
}

} // namespace kvedit::io
