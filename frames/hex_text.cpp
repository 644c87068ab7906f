#include "frames/hex_text.h"

QString toHexString(const unsigned char *bytes, int n)
{
    static const char digits[] = "0123456789abcdef";
    QString text;
    for (int i = 0; i < n; ++i) {
        text += QLatin1Char(digits[bytes[i] >> 4]);
        text += QLatin1Char(digits[bytes[i] & 0x0F]);
        text += QLatin1Char(' ');
    }
    return text;
}
