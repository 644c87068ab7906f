#include "text_width.h"

#include <algorithm>
#include <cwchar>

namespace rtu {

namespace {

/** Reads one character; a byte that begins none counts as a character of its own. */
std::size_t characterSize(const std::string &text, std::size_t position)
{
    const unsigned char first = static_cast<unsigned char>(text[position]);
    const std::size_t size = first < 0x80 ? 1 : first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC0 ? 2 : 1;
    return std::min(size, text.size() - position);
}

int characterWidth(const std::string &text, std::size_t position, std::size_t size)
{
    if (size == 1)
        return 1;
    static const unsigned int leadMask[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    unsigned int code = static_cast<unsigned char>(text[position]) & leadMask[size];
    for (std::size_t i = 1; i < size; ++i)
        code = code << 6 | (static_cast<unsigned char>(text[position + i]) & 0x3Fu);
    const int width = ::wcwidth(static_cast<wchar_t>(code));
    return width < 0 ? 1 : width;
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
