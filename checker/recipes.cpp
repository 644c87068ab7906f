#include "checker/recipes.h"

#include "checker/buffers.h"
#include "checker/findings.h"
#include "checker/requests.h"
#include "driver/qt_compat.h"

#include <algorithm>
#include <vector>

namespace checker {

namespace {

const int LoadByte = 60115;
const int SaveByte = 60116;
const int LargestRow = 65536;

/** A row of this link and its place in the host's table. */
struct PlacedRow
{
    const _RCP_VAR_PRO *row;
    int position;
};

std::string rowName(int position)
{
    return "rows[" + std::to_string(position) + "]";
}

bool sameGroup(const _RCP_VAR_PRO &a, const _RCP_VAR_PRO &b)
{
    return a.station == b.station && a.regType == b.regType;
}

/** True when a block that begins with @p first has @p second where the buffer has it. */
bool followsInBuffer(const _RCP_VAR_PRO &first, const _RCP_VAR_PRO &second)
{
    return static_cast<long long>(second.hostOffset) - first.hostOffset
           == static_cast<long long>(second.startAddr) - first.startAddr;
}

long long endOf(int start, int count)
{
    return static_cast<long long>(start) + std::max(count, 0);
}

bool byAddress(const PlacedRow &a, const PlacedRow &b)
{
    if (a.row->station != b.row->station)
        return a.row->station < b.row->station;
    if (a.row->regType != b.row->regType)
        return a.row->regType < b.row->regType;
    return a.row->startAddr < b.row->startAddr;
}

bool byOffset(const PlacedRow &a, const PlacedRow &b)
{
    return a.row->hostOffset < b.row->hostOffset;
}

/** A block is written in one piece from its first row's place; a save stores each row at its own. */
void checkOrder(std::vector<PlacedRow> placed, Findings &findings)
{
    std::stable_sort(placed.begin(), placed.end(), byAddress);
    for (std::size_t i = 1; i < placed.size(); ++i) {
        const _RCP_VAR_PRO &first = *placed[i - 1].row;
        const _RCP_VAR_PRO &second = *placed[i].row;
        const bool touches = sameGroup(first, second) && second.startAddr <= endOf(first.startAddr, first.count);
        if (touches && !followsInBuffer(first, second))
            findings.report(RowsOutOfOrder, setRcpAddressCall, rowName(placed[i].position) + ".hostOffset",
                            "its registers touch those of " + rowName(placed[i - 1].position) + ", its word "
                                + std::to_string(second.hostOffset) + " does not follow word "
                                + std::to_string(first.hostOffset) + " in the same way");
    }
}

void checkOverlap(std::vector<PlacedRow> placed, Findings &findings)
{
    std::stable_sort(placed.begin(), placed.end(), byOffset);
    std::size_t reaching = 0; // the row that reaches furthest so far
    for (std::size_t i = 1; i < placed.size(); ++i) {
        const _RCP_VAR_PRO &first = *placed[reaching].row;
        const _RCP_VAR_PRO &second = *placed[i].row;
        const bool overlaps = second.hostOffset < endOf(first.hostOffset, first.count) && second.count > 0;
        if (overlaps && !(sameGroup(first, second) && followsInBuffer(first, second)))
            findings.report(RowsOverlap, setRcpAddressCall, rowName(placed[i].position) + ".hostOffset",
                            "word " + std::to_string(second.hostOffset) + " belongs to "
                                + rowName(placed[reaching].position) + " as well");
        if (endOf(second.hostOffset, second.count) > endOf(first.hostOffset, first.count))
            reaching = i;
    }
}

void checkRow(const PlacedRow &placed, const Settings &settings, Findings &findings)
{
    const _RCP_VAR_PRO &row = *placed.row;
    Request request = requestOf(setRcpAddressCall, row.station, row.regType, row.startAddr, row.count);
    request.index = placed.position;
    request.hostOffset = row.hostOffset;
    checkRequest(request, settings, findings);
    if (settings.wordBuffer && row.hostOffset >= 0 && row.count > 0 && row.count <= LargestRow)
        checkBuffer(settings.wordBuffer + 2 * static_cast<std::size_t>(row.hostOffset),
                    2 * static_cast<std::size_t>(row.count), setRcpAddressCall, "rows, hostWordBuffer", findings);
}

} // namespace

RequestBytes readRequestBytes(const Settings &settings)
{
    RequestBytes bytes = {0, 0};
    if (!settings.area || !settings.mutex)
        return bytes;
    QMutexLocker locked(settings.mutex);
    bytes.load = settings.area[LoadByte];
    bytes.save = settings.area[SaveByte];
    return bytes;
}

Recipes::Recipes() : requested(NoTransfer), flying(NoTransfer), halfDone(NoTransfer) {}

void Recipes::registerRows(const QVector<_RCP_VAR_PRO> &rows, const Settings &settings, Findings &findings)
{
    own.clear();
    std::vector<PlacedRow> placed;
    for (int i = 0; i < sizeOf(rows); ++i) {
        if (rows.at(i).userData != settings.link)
            continue;
        const PlacedRow row = {&rows.at(i), i};
        placed.push_back(row);
        own.append(rows.at(i));
        checkRow(row, settings, findings);
    }
    checkOrder(placed, findings);
    checkOverlap(placed, findings);
    if (placed.empty() && !rows.isEmpty())
        findings.report(RowsOfOtherLinks, setRcpAddressCall, "rows",
                        "none of them has link " + std::to_string(settings.link) + ", so none is kept");
    if (!placed.empty() && (!settings.area || !settings.wordBuffer || !settings.mutex))
        findings.report(TransferWithoutBuffers, setRcpAddressCall, "rows",
                        "without host area, word buffer and mutex no row is ever transferred");
}

bool Recipes::asksFor(Transfer transfer, const RequestBytes &bytes)
{
    return (transfer == Load ? bytes.load : bytes.save) == 1;
}

void Recipes::beforeChoice(const RequestBytes &bytes, Findings &findings)
{
    const bool begins = halfDone == NoTransfer;
    checkBytes(bytes, findings);
    checkInterruption(bytes, findings);
    const Transfer wanted = asksFor(Load, bytes) ? Load : asksFor(Save, bytes) ? Save : NoTransfer;
    if (wanted != NoTransfer && begins) {
        if (asksFor(Load, bytes) && asksFor(Save, bytes))
            findings.report(BothRequests, getSendFrameCall, "host area, bytes 60115 and 60116",
                            "both are set: the load runs first, then the save");
        checkRowsFor(wanted, findings);
    }
    requested = wanted;
}

/** Where a load comes to a block without words in the host's buffer, the driver itself ends it. */
bool Recipes::lacksWords(const Settings &settings) const
{
    return !settings.wordBuffer
           || std::any_of(own.begin(), own.end(), [](const _RCP_VAR_PRO &row) { return row.hostOffset < 0; });
}

void Recipes::chosen(bool frameGiven, const RequestBytes &after, const Settings &settings)
{
    if (requested == Load && !asksFor(Load, after) && lacksWords(settings)) {
        halfDone = NoTransfer;
        requested = asksFor(Save, after) ? Save : NoTransfer; // what the frame is for, if there is one
    }
    flying = frameGiven ? requested : NoTransfer;
}

void Recipes::judged(const RequestBytes &before, const RequestBytes &after, bool accepted, Findings &findings)
{
    const Transfer judgedTransfer = flying;
    flying = NoTransfer;
    halfDone = NoTransfer;
    if (judgedTransfer == NoTransfer)
        return;
    if (!asksFor(judgedTransfer, before))
        findings.report(RequestCleared, dealRcvFrameCall, "host area, the request byte",
                        "it was set back while a block was on the line");
    else if (accepted && asksFor(judgedTransfer, after))
        halfDone = judgedTransfer;
}

void Recipes::checkBytes(const RequestBytes &bytes, Findings &findings) const
{
    if (bytes.load > 1 || bytes.save > 1)
        findings.report(RequestByteValue, getSendFrameCall, "host area, bytes 60115 and 60116",
                        std::to_string(std::max(bytes.load, bytes.save)) + " requests nothing");
}

void Recipes::checkInterruption(const RequestBytes &bytes, Findings &findings)
{
    if (halfDone == Save && asksFor(Load, bytes))
        findings.report(TransferOvertaken, getSendFrameCall, "host area, byte 60115",
                        "a load takes over from a save that is half done, and leaves the blocks before out");
    else if (halfDone != NoTransfer && !asksFor(halfDone, bytes))
        findings.report(RequestCleared, getSendFrameCall, "host area, the request byte",
                        "it was set back while the transfer was half done");
    else
        return;
    halfDone = NoTransfer;
}

void Recipes::checkRowsFor(Transfer transfer, Findings &findings) const
{
    if (own.isEmpty())
        findings.report(RequestWithoutRows, getSendFrameCall, "host area, the request byte",
                        "no rows of this link are registered: polling stops, or old blocks or the last transaction go "
                        "out again");
    for (int i = 0; i < sizeOf(own); ++i) {
        const _RCP_VAR_PRO &row = own.at(i);
        const RegisterType *type = findRegisterType(row.regType);
        const bool unsendable = transfer == Save ? row.station == 0 : !type || !type->writable;
        if (!unsendable)
            continue;
        const std::string what =
            transfer == Save ? "a save of station 0" : "a load of " + std::string(row.regType.toLatin1().constData());
        findings.report(TransferStandsStill, getSendFrameCall, "host area, the request byte",
                        what + " cannot be sent, and all polling waits");
        return;
    }
}

} // namespace checker
