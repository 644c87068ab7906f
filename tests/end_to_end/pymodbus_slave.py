"""Slaves 1 and 2 built on pymodbus, at the far end of a pseudo-terminal pair.

The first line on standard output is "device PATH". Then lines on standard input
are answered with one line each:

    peek UNIT TYPE ADDRESS          -> the value
    poke UNIT TYPE ADDRESS VALUE    -> "done"

TYPE is 0x, 1x, 3x or 4x; addresses count from 0. The end of the input ends the
program. Framing, decoding, data store and answers are pymodbus's; only the bytes
are moved here, since its serial server wants packages that the framer does not.
"""

import os
import select
import sys
import tty

from pymodbus.datastore import (
    ModbusSequentialDataBlock,
    ModbusServerContext,
    ModbusSlaveContext,
)
from pymodbus.factory import ServerDecoder
from pymodbus.framer.rtu_framer import ModbusRtuFramer

UNITS = (1, 2)
TABLE_SIZE = 65536
# The function code by which the data store knows each table.
FUNCTION_OF_TYPE = {"0x": 1, "1x": 2, "3x": 4, "4x": 3}


def new_slave():
    """A slave with all addresses, all zero."""
    return ModbusSlaveContext(
        co=ModbusSequentialDataBlock(0, [False] * TABLE_SIZE),
        di=ModbusSequentialDataBlock(0, [False] * TABLE_SIZE),
        ir=ModbusSequentialDataBlock(0, [0] * TABLE_SIZE),
        hr=ModbusSequentialDataBlock(0, [0] * TABLE_SIZE),
        zero_mode=True,
    )


class Slaves:
    """The slaves of one line."""

    def __init__(self, descriptor):
        self.descriptor = descriptor
        self.context = ModbusServerContext({unit: new_slave() for unit in UNITS}, single=False)
        self.framer = ModbusRtuFramer(ServerDecoder())

    def hear(self, data):
        """Takes bytes off the line and answers the requests among them."""
        self.framer.processIncomingPacket(data, self.answer, list(UNITS) + [0], single=False)

    def answer(self, request):
        """Carries a request out; a broadcast goes to all slaves and is not answered."""
        if request.unit_id == 0:
            for unit in UNITS:
                request.execute(self.context[unit])
            return
        response = request.execute(self.context[request.unit_id])
        response.unit_id = request.unit_id
        response.transaction_id = request.transaction_id
        os.write(self.descriptor, self.framer.buildPacket(response))

    def command(self, words):
        """Reads or sets a value for the test; the result is the text to answer."""
        slave = self.context[int(words[1])]
        function = FUNCTION_OF_TYPE[words[2]]
        address = int(words[3])
        if words[0] == "peek":
            return str(int(slave.getValues(function, address, 1)[0]))
        slave.setValues(function, address, [int(words[4])])
        return "done"


def main():
    """Serves until standard input ends."""
    line, device = os.openpty()
    tty.setraw(device)
    slaves = Slaves(line)
    print("device", os.ttyname(device), flush=True)
    while True:
        ready, _, _ = select.select([line, sys.stdin], [], [])
        if line in ready:
            slaves.hear(os.read(line, 4096))
        if sys.stdin in ready:
            text = sys.stdin.readline()
            if not text:
                return
            print(slaves.command(text.split()), flush=True)


if __name__ == "__main__":
    main()
