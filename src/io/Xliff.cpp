#include "io/Xliff.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>
#include <QSet>
#include <QXmlStreamWriter>

#include <functional>
#include <vector>

namespace kvedit::io {

namespace {

const QString kNamespace = QStringLiteral("urn:oasis:names:tc:xliff:document:1.2");
const QString kNamespace11 = QStringLiteral("urn:oasis:names:tc:xliff:document:1.1");
const QString kSourceGroup = QStringLiteral("x-kvedit-source");
const QString kTargetGroup = QStringLiteral("x-kvedit-target");
const QString kMultipleLines = QStringLiteral("x-kvedit-multiple-lines");
const QString kAllowTab = QStringLiteral("x-kvedit-allow-tab");
const QString kAllowShortcut = QStringLiteral("x-kvedit-allow-shortcut");
const QString kShortcutCharacter = QStringLiteral("x-kvedit-shortcut-character");
const QString kShortcutMode = QStringLiteral("x-kvedit-shortcut-mode");
const QString kParameterPrefix = QStringLiteral("x-kvedit-parameter-");
const QString kNoParameters = QStringLiteral("x-kvedit-no-parameters");
const QString kCharacterType = QStringLiteral("x-kvedit-char");
const QString kExtraDataTag = QStringLiteral("kvedit;");

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

// What one context group of ours says: the properties it states over the text's own.
struct PropertyGroup {
    bool present = false;
    int yes = 0;                  // TextProperty flags stated
    int no = 0;
    std::optional<QString> shortcutCharacter;
    std::optional<int> shortcutMode;
    bool parametersGiven = false;
    QList<ParameterDefinition> parameters;

    TextProperties Over(const QString &text) const
    {
        TextProperties p = TextProperties::FromTraits(AnalyseText(text));
        p.properties = (p.properties | yes) & ~no;
        p.shortcutCharacter = shortcutCharacter.value_or(p.shortcutCharacter);
        p.shortcutMode = shortcutMode.value_or(p.shortcutMode);
        return p;
    }
};

const QString kXmlNamespace = QStringLiteral("http://www.w3.org/XML/1998/namespace");

// Writes the start tag the reader stands on: elements of the XLIFF namespace without a prefix
// (the document's default namespace), others with theirs, attributes in their order.
void CopyStartElement(QXmlStreamWriter &w, const QXmlStreamReader &r, QStringView xliffNamespace)
{
    if (r.namespaceUri() == xliffNamespace || r.namespaceUri().isEmpty())
        w.writeStartElement(r.name().toString());
    else
        w.writeStartElement(r.namespaceUri().toString(), r.name().toString());
    for (const QXmlStreamAttribute &a : r.attributes()) {
        if (a.namespaceUri().isEmpty())
            w.writeAttribute(a.name().toString(), a.value().toString());
        else if (a.namespaceUri() == kXmlNamespace)
            w.writeAttribute(QStringLiteral("xml:") + a.name().toString(), a.value().toString());
        else
            w.writeAttribute(a.namespaceUri().toString(), a.name().toString(), a.value().toString());
    }
}

QString CharacterOf(const QString &code)
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

// The content of a <source> or <target>: its text, and when it holds inline codes of another
// tool, the content as markup too. Wrappers (<g>, <mrk>) give their content; native codes
// (<ph>, <bpt>, <ept>, <it>) their equiv-text or else the code they hold; empty placeholders
// (<x>, <bx>, <ex>) their equiv-text or nothing; our own character placeholders their
// character. Iterative: no depth of nesting can exhaust the stack.
struct InlineContent {
    QString text;
    QString markup;   // empty: plain text (our character placeholders do not count as codes)
};

// Reads up to the end of the element the reader has just entered; problems as (line, message).
InlineContent ReadInlineContent(QXmlStreamReader &xml, QStringView xliffNamespace,
                                const std::function<void(const QString &)> &fail)
{
    enum Mode : quint8 { Text, Code, Ignore, OwnCharacter };
    InlineContent out;
    std::vector<Mode> open;
    QString character;
    bool codes = false;
    bool capturing = false;
    int none = 0;
    QXmlStreamWriter markup(&out.markup);
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType t = xml.readNext();
        if (t == QXmlStreamReader::Characters) {
            const Mode mode = open.empty() ? Text : open.back();
            if (mode == Text || mode == Code)
                out.text += xml.text();
            else if (mode == OwnCharacter)
                character += xml.text();
            if (capturing)
                WriteText(markup, xml.text().toString(), false, &none);
        } else if (t == QXmlStreamReader::EntityReference) {
            fail(QStringLiteral("the entity &%1; is not defined in the file (nothing is read from outside it)")
                     .arg(xml.name()));
        } else if (t == QXmlStreamReader::StartElement) {
            const QStringView name = xml.name();
            const bool ours = xml.namespaceUri() == xliffNamespace;
            const Mode parent = open.empty() ? Text : open.back();
            const QXmlStreamAttributes a = xml.attributes();
            QString equivalent;
            Mode mode = Ignore;
            if (ours && parent == Text) {
                const bool placeholder = name == QLatin1String("x") || name == QLatin1String("bx") || name == QLatin1String("ex");
                const bool nativeCode = name == QLatin1String("ph") || name == QLatin1String("bpt")
                                        || name == QLatin1String("ept") || name == QLatin1String("it");
                if (name == QLatin1String("g") || name == QLatin1String("mrk"))
                    mode = Text;
                else if (name == QLatin1String("ph") && a.value(QLatin1String("ctype")) == kCharacterType)
                    mode = OwnCharacter;
                else if ((placeholder || nativeCode) && a.hasAttribute(QLatin1String("equiv-text")))
                    equivalent = a.value(QLatin1String("equiv-text")).toString();
                else if (nativeCode)
                    mode = Code;
            }
            codes = codes || mode != OwnCharacter;
            if (!capturing) {
                capturing = true;
                WriteText(markup, out.text, false, &none);
            }
            out.text += equivalent;
            open.push_back(mode);
            CopyStartElement(markup, xml, xliffNamespace);
        } else if (t == QXmlStreamReader::EndElement) {
            if (open.empty())
                break;
            if (open.back() == OwnCharacter) {
                out.text += CharacterOf(character);
                character.clear();
            }
            open.pop_back();
            markup.writeEndElement();
        }
    }
    if (!codes)
        out.markup.clear();
    return out;
}

// Plain text as markup.
QString EscapedText(const QString &text)
{
    QString markup;
    QXmlStreamWriter w(&markup);
    int none = 0;
    WriteText(w, text, false, &none);
    return markup;
}

// Reads markup kept in an origin: the content wrapped in an element of the XLIFF namespace.
class MarkupReader {
public:
    explicit MarkupReader(const QString &markup)
        : m_xml(QStringLiteral("<m xmlns=\"%1\">").arg(kNamespace) + markup + QStringLiteral("</m>"))
    {
        m_xml.readNextStartElement();
    }
    QXmlStreamReader &Xml() { return m_xml; }

private:
    QXmlStreamReader m_xml;
};

class Reader {
public:
    Reader(QIODevice *device, const QString &file) : m_xml(device), m_file(file) {}

    std::function<void(const ResourceStrings &)> started;
    std::function<void(ImportedString &&, qint64, qint64)> sink;

    ResourceStrings Run()
    {
        m_result.file = m_file;
        ReadRoot();
        enum Scope : quint8 { Document, File, Body, Group };
        std::vector<Scope> scopes{Document};
        while (!m_xml.atEnd() && !scopes.empty()) {
            const QXmlStreamReader::TokenType t = m_xml.readNext();
            if (t == QXmlStreamReader::EndElement) {
                scopes.pop_back();
                continue;
            }
            if (t == QXmlStreamReader::EntityReference)
                Fail(QStringLiteral("the entity &%1; is not defined in the file (nothing is read from outside it)")
                         .arg(m_xml.name()));
            if (t != QXmlStreamReader::StartElement)
                continue;
            const QStringView name = m_xml.name();
            const Scope scope = scopes.back();
            if (m_xml.namespaceUri() != m_namespace) {
                m_xml.skipCurrentElement();
            } else if (scope == Document && name == QLatin1String("file")) {
                BeginFile();
                scopes.push_back(File);
            } else if (scope == File && name == QLatin1String("body")) {
                scopes.push_back(Body);
            } else if ((scope == Body || scope == Group) && name == QLatin1String("group")) {
                scopes.push_back(Group);
            } else if ((scope == Body || scope == Group) && name == QLatin1String("trans-unit")) {
                ReadUnit();
            } else {
                m_xml.skipCurrentElement();
            }
        }
        if (m_xml.hasError())
            Fail(m_xml.errorString());
        Finish();
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

    // Up to the root element, which must be XLIFF 1.x in its namespace. A document type may
    // name a DTD (which is never fetched) but may declare no entities.
    void ReadRoot()
    {
        while (!m_xml.atEnd()) {
            const QXmlStreamReader::TokenType t = m_xml.readNext();
            if (t == QXmlStreamReader::DTD && !m_xml.entityDeclarations().isEmpty())
                Fail(QStringLiteral("the document type declares the entity \"%1\"; XLIFF files need no entity "
                                    "declarations and kvedit reads none")
                         .arg(m_xml.entityDeclarations().first().name()));
            if (t == QXmlStreamReader::StartElement)
                break;
        }
        if (m_xml.hasError())
            Fail(m_xml.errorString());
        if (!m_xml.isStartElement())
            Fail(QStringLiteral("the file holds no XML element"));
        const QString ns = m_xml.namespaceUri().toString();
        const QString version = m_xml.attributes().value(QLatin1String("version")).toString();
        if (m_xml.name() != QLatin1String("xliff"))
            Fail(QStringLiteral("this is not an XLIFF file: its root element is <%1>%2")
                     .arg(m_xml.qualifiedName(), ns.isEmpty() ? QString() : QStringLiteral(" in the namespace \"%1\"").arg(ns)));
        if (version.startsWith(u'2') || ns.startsWith(QLatin1String("urn:oasis:names:tc:xliff:document:2")))
            Fail(QStringLiteral("XLIFF %1 is not supported; only XLIFF 1.2 (and 1.1) is")
                     .arg(version.isEmpty() ? QStringLiteral("2.0") : version));
        if (ns.isEmpty())
            Fail(QStringLiteral("the <xliff> element has no namespace; XLIFF 1.2 declares xmlns=\"%1\"").arg(kNamespace));
        if (ns != kNamespace && ns != kNamespace11)
            Fail(QStringLiteral("the <xliff> element is in the namespace \"%1\", not XLIFF 1.2's \"%2\"").arg(ns, kNamespace));
        m_namespace = ns;
    }

    void BeginFile()
    {
        ++m_files;
        const QXmlStreamAttributes a = m_xml.attributes();
        const QString source = a.value(QLatin1String("source-language")).toString();
        const QString target = a.value(QLatin1String("target-language")).toString();
        m_original = a.value(QLatin1String("original")).toString();
        m_ours = a.value(QLatin1String("tool-id")) == QLatin1String("kvedit");
        if (m_result.sourceLanguageTag.isEmpty())
            m_result.sourceLanguageTag = source;
        if (m_result.languageTag.isEmpty()) {
            m_result.languageTag = target;
            // A refusal for the file's language points at the <file> that states it.
            m_result.languageLine = static_cast<int>(m_xml.lineNumber());
        } else if (!target.isEmpty() && target != m_result.languageTag)
            Note(static_cast<int>(m_xml.lineNumber()),
                 QStringLiteral("this <file> is in %1, the first one in %2").arg(target, m_result.languageTag));
        if (m_files == 1 && started)
            started(m_result);
    }

    // The text of the element the reader is on, its children's included.
    QString ReadText()
    {
        QString text;
        int depth = 0;
        while (!m_xml.atEnd()) {
            const QXmlStreamReader::TokenType t = m_xml.readNext();
            if (t == QXmlStreamReader::Characters)
                text += m_xml.text();
            else if (t == QXmlStreamReader::StartElement)
                ++depth;
            else if (t == QXmlStreamReader::EndElement && depth-- == 0)
                break;
        }
        return text;
    }

    InlineContent ReadInline()
    {
        return ReadInlineContent(m_xml, m_namespace, [this](const QString &message) { Fail(message); });
    }

    void ReadUnit()
    {
        const int line = static_cast<int>(m_xml.lineNumber());
        const QXmlStreamAttributes a = m_xml.attributes();
        const QString idText = a.value(QLatin1String("id")).toString().trimmed();
        const QString resname = a.value(QLatin1String("resname")).toString().trimmed();
        const bool approved = a.value(QLatin1String("approved")) == QLatin1String("yes");
        PropertyGroup sourceGroup;
        PropertyGroup targetGroup;
        int stringId = 0;
        if (a.value(QLatin1String("extradata")).startsWith(kExtraDataTag))
            ReadExtraData(a.value(QLatin1String("extradata")).mid(kExtraDataTag.size()), sourceGroup, targetGroup, stringId);

        ImportedString s;
        s.file = m_file;
        s.line = line;
        s.written = idText.isEmpty() ? resname : idText;
        bool numeric = false;
        const int id = idText.toInt(&numeric);
        if (m_ours) {
            s.id = numeric ? id : 0;
        } else {
            // Another tool's ids name its units; they are string ids only where they can be.
            s.id = numeric && id >= 1 && id <= kMaxStringId ? id : 0;
            s.origin.original = m_original;
            s.origin.unit = s.written;
        }
        s.symbol = resname.isEmpty() && !numeric ? idText : resname;
        if (s.written.isEmpty())
            Fail(QStringLiteral("a trans-unit has neither an id nor a resname"));

        bool haveSource = false;
        std::optional<QString> target;
        QString state;
        QString qualifier;
        while (m_xml.readNextStartElement()) {
            const QStringView name = m_xml.name();
            if (m_xml.namespaceUri() != m_namespace) {
                m_xml.skipCurrentElement();
            } else if (name == QLatin1String("source")) {
                InlineContent content = ReadInline();
                s.sourceText = std::move(content.text);
                s.origin.sourceMarkup = std::move(content.markup);
                haveSource = true;
            } else if (name == QLatin1String("target")) {
                state = m_xml.attributes().value(QLatin1String("state")).toString();
                qualifier = m_xml.attributes().value(QLatin1String("state-qualifier")).toString();
                InlineContent content = ReadInline();
                target = std::move(content.text);
                s.origin.targetMarkup = std::move(content.markup);
            } else if (name == QLatin1String("alt-trans")) {
                ReadAlternative(s);
            } else if (name == QLatin1String("note")) {
                const QString note = ReadText();
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
            Fail(s.written.isEmpty() ? QStringLiteral("a trans-unit without an id has no <source>")
                                     : QStringLiteral("the trans-unit \"%1\" has no <source>").arg(s.written));
        if (!m_ours) {
            s.origin.targetState = state;
            s.origin.stateQualifier = qualifier;
            if (stringId > 0 && stringId <= kMaxStringId) {
                s.id = stringId;
                m_keepIds.insert(m_result.strings.size());
            }
        } else {
            s.origin = {};
        }

        s.text = s.sourceText;
        for (AlternativeTranslation &alternative : s.alternatives)
            if (alternative.source.isEmpty())
                alternative.source = s.sourceText;
        s.properties = sourceGroup.Over(s.sourceText);
        s.propertiesGiven = sourceGroup.present;
        if (sourceGroup.parametersGiven) {
            s.parameters = sourceGroup.parameters;
            s.parametersGiven = true;
        } else {
            for (const int p : AnalyseText(s.sourceText).parameterIds)
                s.parameters.append(ParameterDefinition(p, QString(), QLatin1Char('%') + QString::number(p)));
        }
        s.state = TranslationStateOf(state, target && !target->isEmpty(), approved, qualifier);
        if (s.state == TranslationState::Missing && target && !target->isEmpty()) {
            s.notTranslated = state == QLatin1String("new") ? reason::kStateNew : QStringLiteral("state ") + state;
            // A draft the other tool marked as not yet made: kept to give it back.
            if (!m_ours && s.origin.targetMarkup.isEmpty())
                s.origin.targetMarkup = EscapedText(*target);
        }
        if (s.state != TranslationState::Missing) {
            s.target = target;
            s.targetApproved = approved || s.state == TranslationState::Approved;
            s.targetProperties = targetGroup.Over(*target);
            s.targetPropertiesGiven = targetGroup.present;
        }
        if (sink && m_ours)
            sink(std::move(s), m_xml.device()->pos(), m_xml.device()->size());
        else
            m_result.strings.append(std::move(s));
    }

    // <alt-trans>: its own <source> when it translates another English text, its <target>, and
    // where it came from. The text equivalents of inline codes are taken, as for a unit's texts.
    void ReadAlternative(ImportedString &s)
    {
        AlternativeTranslation alternative;
        const QXmlStreamAttributes a = m_xml.attributes();
        alternative.origin = a.value(QLatin1String("origin")).toString().trimmed();
        bool numeric = false;
        const double quality = a.value(QLatin1String("match-quality")).toString().remove(u'%').trimmed().toDouble(&numeric);
        if (numeric && quality >= 0 && quality <= 100)
            alternative.quality = qRound(quality);
        bool haveTarget = false;
        while (m_xml.readNextStartElement()) {
            if (m_xml.namespaceUri() != m_namespace) {
                m_xml.skipCurrentElement();
            } else if (m_xml.name() == QLatin1String("source")) {
                alternative.source = ReadInline().text;
            } else if (m_xml.name() == QLatin1String("target")) {
                alternative.target = ReadInline().text;
                haveTarget = true;
            } else {
                m_xml.skipCurrentElement();
            }
        }
        if (haveTarget && !alternative.target.isEmpty())
            s.alternatives.append(std::move(alternative));
    }

    static void ReadExtraData(QStringView data, PropertyGroup &source, PropertyGroup &target, int &stringId)
    {
        for (const QStringView part : data.split(u';')) {
            const qsizetype equals = part.indexOf(u'=');
            const QStringView key = equals < 0 ? part : part.left(equals);
            const QString value = equals < 0 ? QString()
                                             : QString::fromUtf8(QByteArray::fromPercentEncoding(part.mid(equals + 1).toUtf8()));
            const bool forTarget = key.startsWith(QLatin1String("t."));
            PropertyGroup &g = forTarget ? target : source;
            const QStringView name = forTarget ? key.mid(2) : key;
            const int flag = name == QLatin1String("ml") ? tpMultipleLines
                             : name == QLatin1String("tab") ? tpAllowTab
                             : name == QLatin1String("sc")  ? tpAllowShortcut
                                                            : 0;
            g.present = g.present || name != QLatin1String("id");
            (value == QLatin1String("1") ? g.yes : g.no) |= flag;
            if (name == QLatin1String("ch"))
                g.shortcutCharacter = value;
            else if (name == QLatin1String("md"))
                g.shortcutMode = qBound(0, value.toInt(), 4);
            else if (name == QLatin1String("np"))
                g.parametersGiven = true;
            else if (name == QLatin1String("id"))
                stringId = value.toInt();
            else if (name.size() == 2 && name.front() == u'p' && name.back().isDigit() && name.back() != u'0') {
                g.parameters.append(ParameterDefinition(name.back().digitValue(), value, QString(u'%') + name.back()));
                g.parametersGiven = true;
            }
        }
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
            const QString value = ReadText();
            const bool yes = value.trimmed() == QLatin1String("yes");
            const int flag = type == kMultipleLines ? tpMultipleLines
                             : type == kAllowTab    ? tpAllowTab
                             : type == kAllowShortcut ? tpAllowShortcut
                                                      : 0;
            (yes ? g.yes : g.no) |= flag;
            if (type == kShortcutCharacter)
                g.shortcutCharacter = value;
            else if (type == kShortcutMode)
                g.shortcutMode = qBound(0, value.trimmed().toInt(), 4);
            else if (type == kNoParameters)
                g.parametersGiven = true;
            else if (type.startsWith(kParameterPrefix)) {
                bool ok = false;
                const int id = type.mid(kParameterPrefix.size()).toInt(&ok);
                if (ok && id > 0) {
                    g.parameters.append(ParameterDefinition(id, value, QLatin1Char('%') + QString::number(id)));
                    g.parametersGiven = true;
                }
            }
        }
        return g;
    }

    // With several <file>s another tool's unit ids repeat from file to file: they name units,
    // not strings, and a resname names a string only when no other unit has it.
    void Finish()
    {
        if (m_files <= 1)
            return;
        QHash<QString, int> resnames;
        for (const ImportedString &s : std::as_const(m_result.strings))
            if (!s.origin.unit.isEmpty() && !s.symbol.isEmpty())
                ++resnames[s.symbol];
        for (qsizetype i = 0; i < m_result.strings.size(); ++i) {
            ImportedString &s = m_result.strings[i];
            if (s.origin.unit.isEmpty())
                continue;
            if (!m_keepIds.contains(i))
                s.id = 0;
            if (resnames.value(s.symbol) > 1)
                s.symbol.clear();
        }
    }

    QXmlStreamReader m_xml;
    QString m_file;
    QString m_namespace;
    QString m_original;
    bool m_ours = false;
    int m_files = 0;
    QSet<qsizetype> m_keepIds;   // units that name our string id
    ResourceStrings m_result;
};

} // namespace

QString FlattenedMarkup(const QString &markup)
{
    MarkupReader r(markup);
    return ReadInlineContent(r.Xml(), kNamespace, [](const QString &) {}).text;
}

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

TranslationState TranslationStateOf(const QString &state, bool hasText, bool approvedAttribute, const QString &qualifier)
{
    if (!hasText || state == QLatin1String("new") || state == QLatin1String("needs-translation"))
        return TranslationState::Missing;
    // A fuzzy match was made for a similar source text, a rejected one needs work: both are
    // what an out-of-date translation is here.
    if (state.startsWith(QLatin1String("needs-")) || qualifier == QLatin1String("fuzzy-match")
        || qualifier.startsWith(QLatin1String("rejected-")))
        return TranslationState::OutOfDate;   // needs review, adaptation or localisation
    if (approvedAttribute)
        return TranslationState::Approved;
    // A machine's or a memory's suggestion is not approved by its state alone.
    const bool suggestion = qualifier.endsWith(QLatin1String("-suggestion")) || qualifier == QLatin1String("leveraged-mt");
    if (!suggestion && (state == QLatin1String("signed-off") || state == QLatin1String("final")))
        return TranslationState::Approved;
    return TranslationState::Unapproved;   // "translated", an extension state, or none
}

namespace {

// Replays markup kept in an origin.
void WriteMarkup(QXmlStreamWriter &w, const QString &markup)
{
    MarkupReader r(markup);
    QXmlStreamReader &xml = r.Xml();
    int depth = 0;
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType t = xml.readNext();
        if (t == QXmlStreamReader::StartElement) {
            CopyStartElement(w, xml, kNamespace);
            ++depth;
        } else if (t == QXmlStreamReader::EndElement) {
            if (depth-- == 0)
                break;
            w.writeEndElement();
        } else if (t == QXmlStreamReader::Characters) {
            int none = 0;
            WriteText(w, xml.text().toString(), false, &none);
        }
    }
}

// A text, as markup where the origin's markup still stands for it.
void WriteContent(QXmlStreamWriter &w, const QString &text, const QString &markup, int *placeholder)
{
    if (!markup.isEmpty() && FlattenedMarkup(markup) == text)
        WriteMarkup(w, markup);
    else
        WriteText(w, text, true, placeholder);
}

bool DefaultParameters(const QList<ParameterDefinition> &parameters, const QString &text)
{
    const QList<int> ids = AnalyseText(text).parameterIds;
    if (parameters.size() != ids.size())
        return false;
    for (qsizetype i = 0; i < ids.size(); ++i)
        if (parameters.at(i).Id() != ids.at(i) || !parameters.at(i).Description().isEmpty())
            return false;
    return true;
}

// Our text properties where they differ from what the texts show, our string id on another
// tool's unit, as the unit's extradata: "kvedit;ch=;md=0;p1=the file name". A value escapes
// '%' and ';' as %25 and %3B.
QString EscapedValue(QString value)
{
    return value.replace(u'%', QLatin1String("%25")).replace(u';', QLatin1String("%3B"));
}

void AddProperties(QStringList &parts, const QString &prefix, const TextProperties &p, const QString &text)
{
    const TextProperties implied = TextProperties::FromTraits(AnalyseText(text));
    const std::pair<int, const char *> flags[] = {{tpMultipleLines, "ml"}, {tpAllowTab, "tab"}, {tpAllowShortcut, "sc"}};
    for (const auto &[flag, key] : flags)
        if ((p.properties ^ implied.properties) & flag)
            parts << prefix + QLatin1String(key) + ((p.properties & flag) ? QLatin1String("=1") : QLatin1String("=0"));
    if (p.shortcutCharacter != implied.shortcutCharacter)
        parts << prefix + QStringLiteral("ch=") + EscapedValue(p.shortcutCharacter);
    if (p.shortcutMode != implied.shortcutMode)
        parts << prefix + QStringLiteral("md=") + QString::number(p.shortcutMode);
}

QString ExtraData(const ImportedString &u, bool hasTarget)
{
    QStringList parts;
    AddProperties(parts, QString(), u.properties, u.sourceText);
    if (!DefaultParameters(u.parameters, u.sourceText)) {
        if (u.parameters.isEmpty())
            parts << QStringLiteral("np");
        for (const ParameterDefinition &d : u.parameters)
            parts << QStringLiteral("p%1=").arg(d.Id()) + EscapedValue(d.Description());
    }
    if (hasTarget)
        AddProperties(parts, QStringLiteral("t."), u.targetProperties, *u.target);
    if (!u.origin.unit.isEmpty() && u.id > 0)
        parts << QStringLiteral("id=%1").arg(u.id);
    return parts.isEmpty() ? QString() : kExtraDataTag + parts.join(u';');
}

void WriteUnit(QXmlStreamWriter &w, const ImportedString &u, bool withTargets)
{
    const bool hasTarget = withTargets && u.target && u.state != TranslationState::Missing;
    const bool approved = hasTarget && (u.targetApproved || u.state == TranslationState::Approved);
    const server::ExchangeOrigin &origin = u.origin;
    const TranslationState state = hasTarget ? u.state : TranslationState::Missing;
    // The other tool's own state and qualifier where they still say what ours does.
    const bool keepTheirs = (!origin.targetState.isEmpty() || !origin.stateQualifier.isEmpty())
                            && TranslationStateOf(origin.targetState, hasTarget, approved, origin.stateQualifier) == state;
    const QString stateName = keepTheirs ? origin.targetState : XliffStateOf(state);
    const QString qualifier = keepTheirs ? origin.stateQualifier : QString();

    int placeholder = 0;
    w.writeStartElement(QStringLiteral("trans-unit"));
    w.writeAttribute(QStringLiteral("id"), origin.unit.isEmpty() ? QString::number(u.id) : origin.unit);
    if (!u.symbol.isEmpty())
        w.writeAttribute(QStringLiteral("resname"), u.symbol);
    // The approval mark where the state does not say it: an out-of-date translation can still
    // carry it.
    if (approved && TranslationStateOf(stateName, true, false, qualifier) != TranslationState::Approved)
        w.writeAttribute(QStringLiteral("approved"), QStringLiteral("yes"));
    const QString extra = ExtraData(u, hasTarget);
    if (!extra.isEmpty())
        w.writeAttribute(QStringLiteral("extradata"), extra);
    w.writeStartElement(QStringLiteral("source"));
    WriteContent(w, u.sourceText, origin.sourceMarkup, &placeholder);
    w.writeEndElement();
    if (withTargets) {
        w.writeStartElement(QStringLiteral("target"));
        if (!stateName.isEmpty())
            w.writeAttribute(QStringLiteral("state"), stateName);
        if (!qualifier.isEmpty())
            w.writeAttribute(QStringLiteral("state-qualifier"), qualifier);
        if (hasTarget)
            WriteContent(w, *u.target, origin.targetMarkup, &placeholder);
        else if (keepTheirs && !origin.targetMarkup.isEmpty())
            WriteMarkup(w, origin.targetMarkup);   // the other tool's draft
        w.writeEndElement();
    }
    if (u.description && !u.description->isEmpty()) {
        w.writeStartElement(QStringLiteral("note"));
        int none = 0;
        WriteText(w, *u.description, false, &none);
        w.writeEndElement();
    }
    w.writeEndElement();   // trans-unit
}

void WriteFileStart(QXmlStreamWriter &w, const XliffDocument &document, const QString &original, bool ours)
{
    w.writeStartElement(QStringLiteral("file"));
    w.writeAttribute(QStringLiteral("original"), original);
    w.writeAttribute(QStringLiteral("source-language"), document.sourceLanguage);
    if (!document.targetLanguage.isEmpty())
        w.writeAttribute(QStringLiteral("target-language"), document.targetLanguage);
    w.writeAttribute(QStringLiteral("datatype"), ours ? QStringLiteral("winres") : QStringLiteral("plaintext"));
    // Every text keeps its blanks and line breaks exactly; said once for the file (units inherit
    // it) rather than on thousands of units.
    w.writeAttribute(QStringLiteral("xml:space"), QStringLiteral("preserve"));
    if (ours) {
        w.writeAttribute(QStringLiteral("tool-id"), QStringLiteral("kvedit"));
        w.writeStartElement(QStringLiteral("header"));
        w.writeEmptyElement(QStringLiteral("tool"));
        w.writeAttribute(QStringLiteral("tool-id"), QStringLiteral("kvedit"));
        w.writeAttribute(QStringLiteral("tool-name"), QStringLiteral("kvedit"));
        if (!QCoreApplication::applicationVersion().isEmpty())
            w.writeAttribute(QStringLiteral("tool-version"), QCoreApplication::applicationVersion());
        w.writeEndElement();   // header
    }
    w.writeStartElement(QStringLiteral("body"));
}

} // namespace

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
    const bool withTargets = !document.targetLanguage.isEmpty();

    // Our own units in one <file>; another tool's go back into <file>s of their names, in the
    // order they first come.
    QStringList originals;
    QHash<QString, QList<const ImportedString *>> foreign;
    QList<const ImportedString *> own;
    for (const ImportedString &u : document.units) {
        if (u.origin.unit.isEmpty()) {
            own.append(&u);
            continue;
        }
        auto it = foreign.find(u.origin.original);
        if (it == foreign.end()) {
            originals.append(u.origin.original);
            it = foreign.insert(u.origin.original, {});
        }
        it->append(&u);
    }
    // One unit a line: indenting inside a unit would add white space to its texts, and costs.
    const auto writeUnits = [&](const QList<const ImportedString *> &units) {
        w.setAutoFormatting(false);
        for (const ImportedString *u : units) {
            w.writeCharacters(QStringLiteral("\n"));
            WriteUnit(w, *u, withTargets);
        }
        w.writeCharacters(QStringLiteral("\n    "));
        w.writeEndElement();   // body
        w.setAutoFormatting(true);
        w.writeEndElement();   // file
    };
    if (!own.isEmpty() || originals.isEmpty()) {
        WriteFileStart(w, document, document.original.isEmpty() ? QStringLiteral("strings") : document.original, true);
        writeUnits(own);
    }
    for (const QString &original : std::as_const(originals)) {
        WriteFileStart(w, document, original, false);
        writeUnits(foreign.value(original));
    }
    w.writeEndElement();   // xliff
    w.writeEndDocument();
    return data;
}

ResourceStrings ReadXliffDevice(QIODevice *device, const QString &fileName)
{
    return Reader(device, fileName).Run();
}

ResourceStrings ReadXliffData(const QByteArray &data, const QString &fileName)
{
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    return ReadXliffDevice(&buffer, fileName);
}

ResourceStrings ReadXliffStreaming(const QString &file, const std::function<void(const ResourceStrings &)> &started,
                                   const std::function<void(ImportedString &&, qint64, qint64)> &sink)
{
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly))
        throw FileError(file, 0, QStringLiteral("cannot read the file: %1").arg(f.errorString()));
    Reader reader(&f, QFileInfo(file).absoluteFilePath());
    reader.started = started;
    reader.sink = sink;
    return reader.Run();
}

QString XliffTargetLanguage(const QString &file)
{
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    QXmlStreamReader xml(&f);
    while (xml.readNextStartElement()) {
        if (xml.name() == QLatin1String("file"))
            return xml.attributes().value(QLatin1String("target-language")).toString();
        if (xml.name() != QLatin1String("xliff"))
            return {};
    }
    return {};
}

ResourceStrings ReadXliff(const QString &file)
{
    // Read as a stream: the file is never in memory as a whole.
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly))
        throw FileError(file, 0, QStringLiteral("cannot read the file: %1").arg(f.errorString()));
    return ReadXliffDevice(&f, QFileInfo(file).absoluteFilePath());
}

} // namespace kvedit::io
