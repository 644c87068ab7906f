#include "support/slave_fixture.h"

#include <cctype>

namespace support {

SlaveFixture::~SlaveFixture()
{
    EXPECT_EQ(slaves.malformedRequests, 0);
}

int SlaveFixture::step()
{
    const FRAME_PRO frame = nextFrame();
    if (frame.frameLen == 0)
        return NothingToSend;
    return deal(slaves.answer(requestBytes(frame)));
}

std::string SlaveFixture::trace(int steps)
{
    static const char letters[] = "??WCPSL";
    std::string sent;
    for (int i = 0; i < steps; ++i) {
        const int verdict = step();
        if (verdict == NothingToSend) {
            sent += '-';
            continue;
        }
        const char letter = letters[driver.sendState];
        sent += verdict == ReplyAccepted ? letter : static_cast<char>(std::tolower(letter));
    }
    return sent;
}

int SlaveFixture::transfer(int requestByte)
{
    raise(requestByte);
    for (int steps = 1; steps <= 10000; ++steps) {
        step();
        if (raised(requestByte) == 0)
            return steps;
    }
    ADD_FAILURE() << "the block request was never cleared";
    return 0;
}

} // namespace support
