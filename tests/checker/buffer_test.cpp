// Every buffer of the guide's table, one byte short.

#include "checker/checked_host.h"

#include <gtest/gtest.h>

namespace {

using checked::CheckedHost;
using checked::takeFindings;

/** A buffer of @p size bytes of which the sanitizer knows the end, or is told it. */
class ShortBuffer
{
public:
    explicit ShortBuffer(std::size_t size) : bytes(new unsigned char[size]())
    {
#if !defined(__SANITIZE_ADDRESS__)
        checked::limitBuffer(bytes, size);
#endif
    }
    ~ShortBuffer()
    {
        delete[] bytes;
    }
    ShortBuffer(const ShortBuffer &) = delete;
    ShortBuffer &operator=(const ShortBuffer &) = delete;

    unsigned char *const bytes;
};

/** The argument that was found too small, and how much of it is there; empty when nothing was found. */
std::string found()
{
    std::string text;
    for (const checked::Heard &heard : takeFindings()) {
        if (heard.name == "buffer-too-small")
            text += heard.text.substr(heard.text.find("intf_"), heard.text.find(". Right") - heard.text.find("intf_"));
    }
    return text;
}

TEST(Buffers, HostArea)
{
    CheckedHost host;
    const ShortBuffer area(60116);
    int status = 0;
    intf_initProperty(area.bytes, 0, host.hostWords.data(), &status, CheckedHost::usualProperty(), nullptr);
    EXPECT_EQ(found(), "intf_initProperty, hostArea: of 60117 bytes only the first 60116 are there");
}

TEST(Buffers, HostWords)
{
    CheckedHost host;
    const ShortBuffer words(9);
    int status = 0;
    intf_initProperty(host.hostArea.data(), 0, words.bytes, &status, CheckedHost::usualProperty(), &host.hostMutex);
#if !defined(__SANITIZE_ADDRESS__)
    checked::limitBuffer(words.bytes + 6, 3);
#endif
    host.registerRows(checked::Rows() << checked::row(1, 1, "4x", 0, 1, 0));
    EXPECT_EQ(found(), "");
    host.registerRows(checked::Rows() << checked::row(1, 1, "4x", 0, 2, 3));
    EXPECT_EQ(found(), "intf_setRcpAddress, rows, hostWordBuffer: of 4 bytes only the first 3 are there");
}

#if !defined(__SANITIZE_ADDRESS__) // where it is at work, the driver's own step beyond would end the test
struct DataCase
{
    const char *type;
    int count;
    int bytes;
};

const DataCase writes[] = {{"0x", 9, 9}, {"4x", 3, 6}, {"4x_double", 2, 4}, {"4x_bit", 5, 10}, {"3x_bit", 5, 5}};
const DataCase reads[] = {{"0x", 9, 9},        {"1x", 9, 9},     {"4x", 3, 6},
                          {"3x_double", 2, 4}, {"4x_bit", 5, 5}, {"3x_bit", 5, 5}};

TEST(Buffers, DataOfWrites)
{
    for (const DataCase &item : writes) {
        CheckedHost host;
        QString type = QString::fromLatin1(item.type);
        std::vector<unsigned char> data(static_cast<std::size_t>(item.bytes), 0);
        intf_setData(1, &type, 0, item.count, data.data(), 0);
        EXPECT_EQ(found(), "") << item.type;
        checked::limitBuffer(data.data(), data.size() - 1);
        intf_setData(1, &type, 0, item.count, data.data(), 0);
        EXPECT_NE(found(), "") << item.type;
    }
}

TEST(Buffers, OutputOfReads)
{
    for (const DataCase &item : reads) {
        CheckedHost host;
        QString type = QString::fromLatin1(item.type);
        std::vector<unsigned char> out(static_cast<std::size_t>(item.bytes), 0);
        checked::limitBuffer(out.data(), out.size());
        intf_getData(1, &type, 0, item.count, out.data());
        EXPECT_EQ(found(), "") << item.type;
        checked::limitBuffer(out.data(), out.size() - 1);
        intf_getData(1, &type, 0, item.count, out.data());
        EXPECT_NE(found(), "") << item.type;
    }
}

TEST(Buffers, Frame)
{
    CheckedHost host;
    FRAME_PRO frame = FRAME_PRO();
    checked::limitBuffer(&frame, sizeof frame - 1);
    intf_getSendFrame(&frame);
    EXPECT_NE(found(), "");
}
#endif

} // namespace
