/**
 * @file
 * Text by the columns that it takes on a screen. Texts are UTF-8.
 */
#ifndef RTU_HOST_TEXT_WIDTH_H
#define RTU_HOST_TEXT_WIDTH_H

#include <string>
#include <vector>

namespace rtu {

/** Columns that the text takes. */
int textWidth(const std::string &text);

/** The beginning of the text that fits; never half a character. */
std::string clippedText(const std::string &text, int width);

/** As that, with ".." at the end of what did not fit whole. */
std::string shortenedText(const std::string &text, int width);

/**
 * The text in lines that fit, broken between words where that is possible; further lines
 * begin with so many blanks.
 */
std::vector<std::string> wrappedText(const std::string &text, int width, int indent = 0);

/** For terminals that show no other letters: as wide as the text, with a likeness or "?" for what is not ASCII. */
std::string asciiText(const std::string &text);

/** False for text in another encoding. */
bool isUtf8(const std::string &text);

/** Exactly so many columns, blanks added behind the text. */
std::string leftAligned(const std::string &text, int width);

/** Exactly so many columns, blanks added in front of the text. */
std::string rightAligned(const std::string &text, int width);

} // namespace rtu

#endif
