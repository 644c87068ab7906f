#ifndef TEST_EVENT_DESCRIPTORS_H
#define TEST_EVENT_DESCRIPTORS_H

namespace test_line {

/**
 * While it lives, the process gets no event descriptor. A limit on all descriptors would do as well,
 * but for the undefined-behaviour sanitizer: it looks at objects through a pipe, and calls them broken
 * when it gets none.
 */
class NoEventDescriptor
{
public:
    NoEventDescriptor();
    ~NoEventDescriptor();
    NoEventDescriptor(const NoEventDescriptor &) = delete;
    NoEventDescriptor &operator=(const NoEventDescriptor &) = delete;
};

} // namespace test_line

#endif
