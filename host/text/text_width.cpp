#include "host/text/text_width.h"

#include <algorithm>
#include <cwchar>
#include <locale.h>

namespace rtu {

namespace {

/** Reads one character; a byte that begins none counts as a character of its own. */
std::size_t characterSize(const std::string &text, std::size_t position)
{
    const unsigned char first = static_cast<unsigned char>(text[position]);
    const std::size_t size = first < 0x80 ? 1 : first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC0 ? 2 : 1;
    return std::min(size, text.size() - position);
}

unsigned int codePoint(const std::string &text, std::size_t position, std::size_t size)
{
    static const unsigned int leadMask[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    unsigned int code = static_cast<unsigned char>(text[position]) & leadMask[size];
    for (std::size_t i = 1; i < size; ++i)
        code = code << 6 | (static_cast<unsigned char>(text[position + i]) & 0x3Fu);
    return code;
}

/** As long as it is there, characters are as wide as Unicode says, whatever the locale of the program. */
class UnicodeWidths
{
public:
    UnicodeWidths() : m_before(::uselocale(unicodeLocale())) {}
    ~UnicodeWidths() { ::uselocale(m_before); }
    UnicodeWidths(const UnicodeWidths &) = delete;
    UnicodeWidths &operator=(const UnicodeWidths &) = delete;

private:
    /** None where the system lacks it: nothing is changed then. */
    static locale_t unicodeLocale()
    {
        static const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return locale;
    }

    locale_t m_before;
};

int characterWidth(const std::string &text, std::size_t position, std::size_t size)
{
    if (size == 1)
        return 1;
    const unsigned int code = codePoint(text, position, size);
    const UnicodeWidths widths;
    const int width = ::wcwidth(static_cast<wchar_t>(code));
    return width < 0 ? 1 : width;
}

/** Lead byte, as many others as it announces, and no longer than the code needs. */
bool isCharacter(const std::string &text, std::size_t position, std::size_t size)
{
    const unsigned char lead = static_cast<unsigned char>(text[position]);
    if (size == 1)
        return lead < 0x80;
    const std::size_t announced = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead > 0xF4 || size != announced)
        return false;
    for (std::size_t i = 1; i < size; ++i) {
        if ((static_cast<unsigned char>(text[position + i]) & 0xC0) != 0x80)
            return false;
    }
    static const unsigned int smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const unsigned int code = codePoint(text, position, size);
    return code >= smallest[size] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

} // namespace

int textWidth(const std::string &text)
{
    int width = 0;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t size = characterSize(text, i);
        width += characterWidth(text, i, size);
        i += size;
    }
    return width;
}

std::string clippedText(const std::string &text, int width)
{
    int taken = 0;
    std::size_t i = 0;
    while (i < text.size()) {
        const std::size_t size = characterSize(text, i);
        taken += characterWidth(text, i, size);
        if (taken > width)
            break;
        i += size;
    }
    return text.substr(0, i);
}

std::vector<std::string> wrappedText(const std::string &text, int width, int indent)
{
    std::vector<std::string> lines;
    std::string rest = text;
    while (textWidth(rest) > width) {
        const std::string fits = clippedText(rest, width);
        const std::string first = rest[fits.size()] == ' ' ? fits : fits.substr(0, fits.find_last_of(' '));
        const bool blank = first.find_first_not_of(' ') == std::string::npos;
        lines.push_back(blank ? fits : first); // a word that is longer than a line is broken
        const std::size_t next = rest.find_first_not_of(' ', lines.back().size());
        if (next == std::string::npos || lines.back().empty())
            return lines;
        rest = std::string(static_cast<std::size_t>(indent < width ? indent : 0), ' ') + rest.substr(next);
    }
    lines.push_back(rest);
    return lines;
}

std::string shortenedText(const std::string &text, int width)
{
    const std::string mark = "..";
    const int markWidth = static_cast<int>(mark.size());
    if (textWidth(text) <= width || width <= markWidth)
        return clippedText(text, width);
    return clippedText(text, width - markWidth) + mark;
}

bool isUtf8(const std::string &text)
{
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t size = characterSize(text, i);
        if (!isCharacter(text, i, size))
            return false;
        i += size;
    }
    return true;
}

std::string asciiText(const std::string &text)
{
    struct Alike
    {
        const char *character;
        char ascii;
    };
    static const Alike alike[] = {{"\xC2\xB0", 'o'}, {"\xC2\xB2", '2'}, {"\xC2\xB3", '3'},
                                  {"\xC2\xB5", 'u'}, {"\xCE\xBC", 'u'}, {"\xC2\xB7", '.'}};
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t size = characterSize(text, i);
        const std::string character = text.substr(i, size);
        const auto found = std::find_if(std::begin(alike), std::end(alike),
                                        [&](const Alike &each) { return character == each.character; });
        const bool plain = size == 1 && static_cast<unsigned char>(character[0]) < 0x80;
        const char shown = plain ? character[0] : found != std::end(alike) ? found->ascii : '?';
        result.append(static_cast<std::size_t>(characterWidth(text, i, size)), shown);
        i += size;
    }
    return result;
}

std::string leftAligned(const std::string &text, int width)
{
    std::string result = clippedText(text, width);
    result.append(static_cast<std::size_t>(std::max(0, width - textWidth(result))), ' ');
    return result;
}

std::string rightAligned(const std::string &text, int width)
{
    const std::string result = clippedText(text, width);
    return std::string(static_cast<std::size_t>(std::max(0, width - textWidth(result))), ' ') + result;
}

} // namespace rtu
