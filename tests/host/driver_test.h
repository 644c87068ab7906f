/**
 * @file
 * The loaded driver for tests of what stands on it.
 */
#ifndef TESTS_HOST_DRIVER_TEST_H
#define TESTS_HOST_DRIVER_TEST_H

#include "host/tags/tag.h"
#include "support/driver_file.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace test_host {

class DriverTest : public testing::Test
{
protected:
    DriverTest() : driver(support::driverFile()), catalog(driver) {}

    rtu::TagRange tag(const std::string &text, int values = 1)
    {
        return rtu::parseTags(driver, catalog, text, std::vector<int>(1, 1), values).front();
    }

    rtu::DriverLibrary driver;
    rtu::RegisterCatalog catalog;
};

/** The message of the invalid_argument that the call throws; "nothing thrown" otherwise. */
template <typename Call>
std::string refusalOf(Call call)
{
    try {
        call();
    } catch (const std::invalid_argument &error) {
        return error.what();
    }
    return "nothing thrown";
}

inline bool contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

} // namespace test_host

#endif
