#include "checker/misuse.h"

namespace checked {

namespace {

/** Two blocks of one register each. */
void registerTwoBlocks(CheckedHost &host, int station = 1)
{
    host.registerRows(Rows() << row(1, station, "4x", 100, 1, 0) << row(1, station, "4x", 110, 1, 1));
}

std::vector<Misuse> rowMisuses()
{
    return {
        {"row-type", "RegistersBits", [](CheckedHost &host) { host.registerRows(Rows() << row(1, 1, "0x", 0, 1, 0)); }},
        {"row-too-long", "RegistersARowBeyondABlock",
         [](CheckedHost &host) { host.registerRows(Rows() << row(1, 1, "4x", 0, 33, 0)); }},
        {"row-of-doubles", "RegistersTwoValuesInARow",
         [](CheckedHost &host) { host.registerRows(Rows() << row(1, 1, "4x_double", 0, 4, 0)); }},
        {"row-offset", "RegistersBeforeTheBuffer",
         [](CheckedHost &host) { host.registerRows(Rows() << row(1, 1, "4x", 0, 1, -1)); }},
        {"rows-overlap", "RegistersTwoRowsForOneWord",
         [](CheckedHost &host) { host.registerRows(Rows() << row(1, 1, "4x", 0, 4, 0) << row(1, 2, "4x", 0, 1, 3)); }},
        {"rows-out-of-order", "RegistersTouchingRowsApart",
         [](CheckedHost &host) { host.registerRows(Rows() << row(1, 1, "4x", 0, 2, 0) << row(1, 1, "4x", 2, 2, 10)); }},
        {"rows-out-of-order", "RegistersTouchingRowsTheOtherWayRound",
         [](CheckedHost &host) { host.registerRows(Rows() << row(1, 1, "4x", 2, 2, 0) << row(1, 1, "4x", 0, 2, 2)); }},
        {"rows-of-other-links", "RegistersForAnotherLink",
         [](CheckedHost &host) { host.registerRows(Rows() << row(2, 1, "4x", 0, 1, 0)); }},
        {"transfer-without-buffers", "RegistersWithoutABuffer",
         [](CheckedHost &host) {
             int status = 0;
             intf_initProperty(host.hostArea.data(), 0, nullptr, &status, CheckedHost::usualProperty(),
                               &host.hostMutex);
             host.registerRows(Rows() << row(1, 1, "4x", 0, 1, 0));
         }},
        {"transfer-without-buffers", "LoadsWithoutABuffer",
         [](CheckedHost &host) {
             int status = 0;
             intf_initProperty(host.hostArea.data(), 0, nullptr, &status, CheckedHost::usualProperty(),
                               &host.hostMutex);
             host.plan(Keys() << key(1, "4x", 0, 4));
             host.registerRows(Rows() << row(1, 1, "4x", 0, 1, 0));
             host.request(CheckedHost::BlockWriteRequest);
             host.exchange();
         }},
    };
}

std::vector<Misuse> requestMisuses()
{
    return {
        {"request-byte-value", "RequestsWithTwo",
         [](CheckedHost &host) {
             registerTwoBlocks(host);
             host.request(CheckedHost::BlockReadRequest, 2);
             host.exchange();
         }},
        {"both-requests", "RequestsBothAtOnce",
         [](CheckedHost &host) {
             registerTwoBlocks(host);
             host.request(CheckedHost::BlockReadRequest);
             host.request(CheckedHost::BlockWriteRequest);
             host.exchange();
         }},
        {"request-cleared", "ClearsTheByteBetweenTwoBlocks",
         [](CheckedHost &host) {
             registerTwoBlocks(host);
             host.request(CheckedHost::BlockReadRequest);
             host.exchange();
             host.request(CheckedHost::BlockReadRequest, 0);
             host.exchange();
         }},
        {"request-cleared", "ClearsTheByteWhileABlockIsOut",
         [](CheckedHost &host) {
             registerTwoBlocks(host);
             host.request(CheckedHost::BlockWriteRequest);
             const FRAME_PRO frame = host.ask();
             host.request(CheckedHost::BlockWriteRequest, 0);
             host.deal(CheckedHost::answerTo(frame));
         }},
        {"row-offset", "LoadsFromBeforeTheBuffer",
         [](CheckedHost &host) {
             host.registerRows(Rows() << row(1, 1, "4x", 100, 1, -1));
             host.request(CheckedHost::BlockWriteRequest);
             host.exchange();
         }},
        {"row-offset", "LoadsASecondBlockFromBeforeTheBuffer",
         [](CheckedHost &host) {
             host.plan(Keys());
             host.registerRows(Rows() << row(1, 1, "4x", 100, 1, 0) << row(1, 1, "4x", 110, 1, -1));
             host.request(CheckedHost::BlockWriteRequest);
             host.exchange();
             host.exchange();
             host.plan(Keys() << key(1, "4x", 0, 4));
             host.exchange();
         }},
        {"both-requests request-cleared row-offset", "ClearsTheByteOfASaveAfterALoadWithoutWords",
         [](CheckedHost &host) {
             host.registerRows(Rows() << row(1, 1, "4x", 100, 1, -1));
             host.request(CheckedHost::BlockReadRequest);
             host.request(CheckedHost::BlockWriteRequest);
             const FRAME_PRO frame = host.ask();
             host.request(CheckedHost::BlockReadRequest, 0);
             host.deal(CheckedHost::answerTo(frame));
         }},
        {"request-cleared row-offset", "ClearsTheByteBesideARowWithoutWords",
         [](CheckedHost &host) {
             host.registerRows(Rows() << row(1, 1, "4x", 100, 1, 0) << row(1, 1, "4x", 110, 1, -1));
             host.request(CheckedHost::BlockWriteRequest);
             const FRAME_PRO frame = host.ask();
             host.request(CheckedHost::BlockWriteRequest, 0);
             host.deal(CheckedHost::answerTo(frame));
         }},
        {"transfer-overtaken", "LoadsInTheMiddleOfASave",
         [](CheckedHost &host) {
             registerTwoBlocks(host);
             host.request(CheckedHost::BlockReadRequest);
             host.exchange();
             host.request(CheckedHost::BlockWriteRequest);
             host.exchange();
         }},
        {"start-up-in-transfer", "RegistersInTheMiddleOfASave",
         [](CheckedHost &host) {
             registerTwoBlocks(host);
             host.request(CheckedHost::BlockReadRequest);
             host.exchange();
             registerTwoBlocks(host);
         }},
        {"transfer-stands-still", "LoadsInputs",
         [](CheckedHost &host) {
             host.registerRows(Rows() << row(1, 1, "3x", 0, 1, 0));
             host.request(CheckedHost::BlockWriteRequest);
             host.ask();
         }},
        {"transfer-stands-still", "SavesStationZero",
         [](CheckedHost &host) {
             registerTwoBlocks(host, 0);
             host.request(CheckedHost::BlockReadRequest);
             host.ask();
         }},
        {"request-without-rows", "RequestsWithoutRows",
         [](CheckedHost &host) {
             host.request(CheckedHost::BlockReadRequest);
             host.ask();
         }},
        {"request-without-rows", "RequestsWithRowsOfYesterday",
         [](CheckedHost &host) {
             registerTwoBlocks(host);
             host.registerRows(Rows());
             host.request(CheckedHost::BlockReadRequest);
             host.exchange();
         }},
    };
}

} // namespace

std::vector<Misuse> recipeMisuses()
{
    std::vector<Misuse> all = rowMisuses();
    const std::vector<Misuse> more = requestMisuses();
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

} // namespace checked
