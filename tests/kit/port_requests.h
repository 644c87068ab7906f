/**
 * @file
 * What a serial port would answer to requests that a pseudo-terminal refuses.
 */
#ifndef TESTS_KIT_PORT_REQUESTS_H
#define TESTS_KIT_PORT_REQUESTS_H

#include <functional>
#include <map>

namespace test_line {

/** Of a request's number: what is answered, in the place of the kernel, and what is done to its argument. */
using PortAnswers = std::map<unsigned long, std::function<int(void *argument)>>;

/** The answers in use; requests without one go to the kernel. */
extern PortAnswers portAnswers;

} // namespace test_line

#endif
