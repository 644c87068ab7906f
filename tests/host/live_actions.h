/**
 * @file
 * What the keys of the live view ask for, noted down.
 */
#ifndef TESTS_HOST_LIVE_ACTIONS_H
#define TESTS_HOST_LIVE_ACTIONS_H

#include "host/live/live_state.h"

#include <string>
#include <vector>

namespace test_host {

struct Actions : rtu::LiveActions
{
    std::string refusal(const rtu::LiveRow &) override { return refused; }
    std::string currentValue(const rtu::LiveRow &) override { return "12"; }
    bool write(const rtu::LiveRow &row, const std::string &text, std::string *message) override
    {
        calls.push_back("write " + std::to_string(row.tag) + "." + std::to_string(row.value) + " " + text);
        *message = text == "wrong" ? "no value" : "written";
        return text != "wrong";
    }
    std::string toggle(const rtu::LiveRow &row) override
    {
        calls.push_back("toggle " + std::to_string(row.tag) + "." + std::to_string(row.value));
        return "toggled";
    }
    std::vector<std::string> waitingWrites() override { return waiting; }
    std::string cancelWrites() override
    {
        calls.push_back("cancel");
        return "taken back";
    }
    std::string readNow(const rtu::LiveRow &row) override
    {
        calls.push_back("read " + std::to_string(row.tag));
        return "";
    }
    std::string rowText(const rtu::LiveRow &row) override
    {
        return "Level " + std::to_string(row.tag) + "." + std::to_string(row.value);
    }
    std::vector<rtu::LiveRow> ordered(rtu::RowOrder order) override
    {
        if (order == rtu::RowOrder::AsGiven)
            return {{0, 0}, {0, 1}, {1, 0}};
        return {{1, 0}, {0, 1}, {0, 0}};
    }
    std::string changeFormat(const rtu::LiveRow &row) override
    {
        calls.push_back("format " + std::to_string(row.tag));
        return "as hex";
    }
    bool simulated() const override { return hasSlaves; }
    bool addFault(const std::string &text, std::string *message) override
    {
        calls.push_back("fault " + text);
        *message = text == "wrong" ? "no fault" : "";
        return text != "wrong";
    }
    std::string clearFaults() override
    {
        calls.push_back("clear");
        return "";
    }
    std::string switchStation(const rtu::LiveRow &row) override
    {
        calls.push_back("switch " + std::to_string(row.tag));
        return "";
    }
    std::string pullPlug() override
    {
        calls.push_back("plug");
        return "";
    }

    std::vector<std::string> calls;
    std::string refused;
    std::vector<std::string> waiting;
    bool hasSlaves = true;
};

} // namespace test_host

#endif
