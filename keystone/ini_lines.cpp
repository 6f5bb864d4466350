#include "keystone/ini_lines.h"

#include <algorithm>

namespace {

constexpr QByteArrayView kByteOrderMark = "\xEF\xBB\xBF";

bool isSpace(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

bool endsLine(char character)
{
    return character == '\n' || character == '\r';
}

/// The characters that a "%41" or "%U0041" stands for, "/" for a backslash.
QString unescapedKey(QByteArrayView key)
{
    const QString text = QString::fromUtf8(key);
    QString result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != QLatin1Char('%')) {
            result += text[i] == QLatin1Char('\\') ? QLatin1Char('/') : text[i];
            continue;
        }
        const bool isLong = i + 1 < text.size() && text[i + 1] == QLatin1Char('U');
        const qsizetype first = i + (isLong ? 2 : 1);
        const qsizetype digits = isLong ? 4 : 2;
        bool isNumber = false;
        const ushort code =
            first + digits <= text.size() ? QStringView(text).sliced(first, digits).toUShort(&isNumber, 16) : ushort(0);
        result += isNumber ? QChar(code) : QChar(u'%');
        if (isNumber)
            i = first + digits - 1;
    }
    return result;
}

} // namespace

IniLines::IniLines(QByteArrayView content)
    : m_content(content)
    , m_hasMark(content.startsWith(kByteOrderMark))
{
    if (m_hasMark)
        m_content = content.sliced(kByteOrderMark.size());
}

std::optional<IniLines::Assignment> IniLines::next()
{
    for (;;) {
        const Line line = nextLine();
        if (line.text.isEmpty())
            return std::nullopt;
        if (line.text.startsWith('['))
            enterSection(line.text);
        else if (line.equals >= 0)
            return Assignment{m_section + unescapedKey(line.indent) +
                                  unescapedKey(line.text.first(line.equals).trimmed()),
                              line.text.sliced(line.equals + 1).trimmed()};
    }
}

void IniLines::enterSection(QByteArrayView line)
{
    const qsizetype end = line.indexOf(']');
    const QByteArrayView name = line.first(end < 0 ? line.size() : end).sliced(1).trimmed();
    if (name.compare("general", Qt::CaseInsensitive) == 0)
        m_section.clear();
    else if (name.compare("%general", Qt::CaseInsensitive) == 0)
        m_section = QString::fromLatin1(name.sliced(1)) + QLatin1Char('/');
    else
        m_section = unescapedKey(name) + QLatin1Char('/');
}

/// The next line that is no comment and not empty; a quoted text or a backslash before its end makes it go on. Empty at
/// the end of the file.
IniLines::Line IniLines::nextLine()
{
    const auto skip = [this](auto belongs) {
        while (m_position < m_content.size() && belongs(m_content[m_position]))
            ++m_position;
    };
    const auto isInLine = [](char character) { return !endsLine(character); };
    const bool isFirst = m_position == 0;
    skip(isSpace);
    // To QSettings this is no indentation: the mark stands before it in the line.
    QByteArrayView indent;
    if (m_hasMark && isFirst && std::none_of(m_content.begin(), m_content.begin() + m_position, endsLine))
        indent = m_content.first(m_position);
    while (m_position < m_content.size() && m_content[m_position] == ';') {
        skip(isInLine);
        skip(isSpace);
        indent = {};
    }
    const qsizetype start = m_position;
    std::optional<qsizetype> end;
    Line line;
    bool quoted = false;
    for (; m_position < m_content.size(); ++m_position) {
        const char character = m_content[m_position];
        if (character == '\\') {
            // Its next character, and both of a line's end of two.
            ++m_position;
            const bool isPair = m_position + 1 < m_content.size() && endsLine(m_content[m_position]) &&
                                endsLine(m_content[m_position + 1]) &&
                                m_content[m_position] != m_content[m_position + 1];
            if (isPair)
                ++m_position;
        } else if (character == '"') {
            quoted = !quoted;
        } else if (character == '=' && !quoted && line.equals < 0) {
            line.equals = m_position - start;
        } else if (character == ';' && !quoted) {
            end = m_position;
            skip(isInLine);
            if (line.equals >= 0 && m_content[start] != '[')
                end = m_position;
            break;
        } else if (endsLine(character) && !quoted) {
            break;
        }
    }
    m_position = qMin(m_position, m_content.size());
    line.indent = indent;
    line.text = m_content.sliced(start, end.value_or(m_position) - start);
    return line;
}
