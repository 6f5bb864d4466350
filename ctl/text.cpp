#include "ctl/text.h"

#include <QStringDecoder>

#include <algorithm>
#include <array>

namespace ctl {
namespace {

struct Range
{
    char32_t first;
    char32_t last;
};

/// Scripts and symbols that terminals show two columns wide.
constexpr std::array kWide = {
    Range{0x1100, 0x115F},   Range{0x231A, 0x231B},   Range{0x2E80, 0x303E},   Range{0x3041, 0xA4CF},
    Range{0xA960, 0xA97F},   Range{0xAC00, 0xD7A3},   Range{0xF900, 0xFAFF},   Range{0xFE30, 0xFE6F},
    Range{0xFF01, 0xFF60},   Range{0xFFE0, 0xFFE6},   Range{0x1F300, 0x1F64F}, Range{0x1F680, 0x1F6FF},
    Range{0x1F900, 0x1F9FF}, Range{0x20000, 0x3FFFD},
};

bool isPlain(char32_t code)
{
    switch (QChar::category(code)) {
    case QChar::Other_Control:
    case QChar::Other_Format: // among them the marks that turn the direction of text around
    case QChar::Other_Surrogate:
    case QChar::Other_PrivateUse:
    case QChar::Other_NotAssigned:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default:
        return true;
    }
}

QString escaped(char32_t code)
{
    switch (code) {
    case U'\n':
        return QStringLiteral("\\n");
    case U'\r':
        return QStringLiteral("\\r");
    case U'\t':
        return QStringLiteral("\\t");
    default:
        break;
    }
    if (code < 0x100)
        return QStringLiteral("\\x%1").arg(uint(code), 2, 16, QLatin1Char('0'));
    return QStringLiteral("\\u%1").arg(uint(code), 4, 16, QLatin1Char('0'));
}

int widthOf(char32_t code)
{
    const auto category = QChar::category(code);
    if (category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing)
        return 0;
    const bool wide = std::any_of(kWide.begin(), kWide.end(),
                                  [code](Range range) { return code >= range.first && code <= range.last; });
    return wide ? 2 : 1;
}

/// UTF-32 whose lone surrogates are kept, so that they can be shown as what they are.
std::u32string codePoints(QStringView text)
{
    std::u32string codes;
    codes.reserve(size_t(text.size()));
    for (qsizetype at = 0; at < text.size(); ++at) {
        const QChar unit = text[at];
        if (unit.isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate())
            codes.push_back(QChar::surrogateToUcs4(unit, text[++at]));
        else
            codes.push_back(unit.unicode());
    }
    return codes;
}

} // namespace

QString printable(QStringView text)
{
    QString result;
    result.reserve(text.size());
    for (const char32_t code : codePoints(text)) {
        if (isPlain(code))
            result += QChar::fromUcs4(code);
        else
            result += escaped(code);
    }
    return result;
}

int displayWidth(QStringView text)
{
    int width = 0;
    for (const char32_t code : codePoints(text))
        width += widthOf(code);
    return width;
}

QString cutToWidth(const QString &text, int columns)
{
    if (displayWidth(text) <= columns)
        return text;
    QString kept;
    int width = 0;
    for (const char32_t code : codePoints(text)) {
        width += widthOf(code);
        if (width > columns - 1)
            break;
        kept += QChar::fromUcs4(code);
    }
    return kept + QChar(0x2026);
}

std::optional<QString> utf8Text(const QByteArray &bytes)
{
    if (bytes.contains('\0'))
        return std::nullopt;
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    // The comparison also refuses a leading byte order mark, which the decoder drops.
    if (decoder.hasError() || text.toUtf8() != bytes)
        return std::nullopt;
    return text;
}

QString bytesForPeople(const QByteArray &bytes)
{
    if (bytes.isNull())
        return textForPeople(QString());
    if (const auto text = utf8Text(bytes)) {
        const auto codes = codePoints(*text);
        const bool shown = std::all_of(codes.begin(), codes.end(), [](char32_t code) {
            return isPlain(code) || code == U'\n' || code == U'\r' || code == U'\t';
        });
        if (shown)
            return printable(*text);
    }
    constexpr qsizetype shownBytes = 12;
    const QString head = QString::fromLatin1(bytes.left(shownBytes).toHex());
    const QString more = bytes.size() > shownBytes ? QStringLiteral("...") : QString();
    return QStringLiteral("0x%1%2 (%3 bytes)").arg(head, more).arg(bytes.size());
}

QString textForPeople(const QString &text)
{
    return text.isNull() ? QStringLiteral("(null)") : printable(text);
}

QString counted(qsizetype number, const char *one, const char *many)
{
    return QStringLiteral("%1 %2").arg(number).arg(QLatin1String(number == 1 ? one : many));
}

} // namespace ctl
