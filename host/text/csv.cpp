#include "host/text/csv.h"

#include <stdexcept>

namespace rtu {

std::string trimmed(const std::string &text)
{
    const std::size_t begin = text.find_first_not_of(" \t\r");
    if (begin == std::string::npos)
        return std::string();
    return text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

char separatorOf(const std::string &line)
{
    bool quoted = false;
    std::size_t commas = 0;
    std::size_t semicolons = 0;
    std::size_t tabs = 0;
    for (char c : line) {
        quoted = quoted != (c == '"');
        commas += !quoted && c == ',' ? 1 : 0;
        semicolons += !quoted && c == ';' ? 1 : 0;
        tabs += !quoted && c == '\t' ? 1 : 0;
    }
    if (tabs > commas && tabs > semicolons)
        return '\t';
    return semicolons > commas ? ';' : ',';
}

std::vector<std::string> splitCsv(const std::string &line, char separator)
{
    std::vector<std::string> fields(1);
    bool quoted = false;
    bool wasQuoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        std::string &field = fields.back();
        if (c == '"' && quoted && i + 1 < line.size() && line[i + 1] == '"') {
            field += line[++i];
        } else if (c == '"' && (quoted || trimmed(field).empty())) {
            quoted = !quoted;
            if (quoted)
                field.clear();
            wasQuoted = true;
        } else if (c == separator && !quoted) {
            if (!wasQuoted)
                field = trimmed(field);
            wasQuoted = false;
            fields.emplace_back();
        } else if (quoted || !wasQuoted) {
            field += c;
        }
    }
    if (quoted)
        throw std::invalid_argument("a quote is not closed");
    if (!wasQuoted)
        fields.back() = trimmed(fields.back());
    return fields;
}

std::string csvField(const std::string &text)
{
    // Blanks at its ends and a "#" in front would be taken for the file's own.
    const bool plain = trimmed(text) == text && text.compare(0, 1, "#") != 0;
    if (plain && text.find_first_of(",\"\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (char c : text)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

} // namespace rtu
