/**
 * @file
 * Recipe transfers: what the host requests, and its words on their way to and
 * from the slaves.
 */
#ifndef RECIPE_TRANSFER_H
#define RECIPE_TRANSFER_H

#include "cache/reply_bytes.h"
#include "driver/modbus_rtu_master.h"

/** The host's request bytes, as positions in the host area; 1 means requested. */
enum TransferRequestByte { WriteRequestByte = 60115, ReadRequestByte = 60116 };

/** What the host asks for through its two request bytes; a write wins over a read. */
struct TransferRequests
{
    bool write;
    bool read;
};

/** Reads the request bytes; a host without area or mutex has none. Lets the lock go. */
TransferRequests transferRequests(const Modbus_rtu_master &master);

/** Is there a block for the transfer to go on with? */
bool isBlockLeft(const Modbus_rtu_master &master);

/** Makes the block whose turn it is the next transaction; there has to be one left. */
void selectBlock(Modbus_rtu_master &master, bool write);

/**
 * Steps to the next block; the transfer ends when the last is done, or at once
 * after a failure. May let the lock go.
 */
void finishBlock(Modbus_rtu_master &master, TransferRequestByte request);

/** Ends the transfer: clears its request byte, and the next one begins with the first block. Lets the lock go. */
void endTransfer(Modbus_rtu_master &master, TransferRequestByte request);

/** Are there host words to write from? Not without a buffer, nor for a block that begins before its start. */
bool hasHostWords(const Modbus_rtu_master &master, const _RCP_VAR_PRO &block);

/** Registered rows first to last - 1 of one block. */
struct RecipeRows
{
    QVector<_RCP_VAR_PRO> rows; ///< shares the registered rows: a callback may register anew
    int first;
    int last;

    RecipeRows() : first(0), last(0) {}
};

/** The rows of the block in transfer; none where a registration has removed them since. */
RecipeRows rowsInTransfer(const Modbus_rtu_master &master);

/** Stores the words of the rows into the host's buffer and reports every one of them, changed or not. */
void storeRecipeRows(Modbus_rtu_master &master, const RecipeRows &found, const QString &regType,
                     const ReplyBytes &reply);

#endif
