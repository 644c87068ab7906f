// A complete host: loads the driver, polls one holding register and prints it. C++98 will do.
//
//   minimal_host LIBRARY PORT [ROUNDS]     9600 baud, 8 data bits, no parity, 2 stop bits

#include "modbus_rtu_interface.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>
#include <cstdio>
#include <cstdlib>
#include <vector>

static void *library;
static bool changed;

// An entry point has the type that the header gives it and the address that the library gives it.
#define DRIVER(name) reinterpret_cast<__typeof__(&name)>(dlsym(library, #name))

static int openPort(const char *path)
{
    const int port = open(path, O_RDWR | O_NOCTTY);
    termios settings = termios();
    if (port < 0 || tcgetattr(port, &settings) != 0)
        return -1;
    cfmakeraw(&settings);
    cfsetspeed(&settings, B9600);
    settings.c_cflag |= CSTOPB | CLOCAL | CREAD;
    return tcsetattr(port, TCSANOW, &settings) == 0 ? port : -1;
}

// Waits for as many bytes as the driver expects; fewer when the slave falls silent for half a second.
static QByteArray receive(int port, int expected)
{
    QByteArray reply;
    pollfd waiting = {port, POLLIN, 0};
    while (reply.size() < expected && poll(&waiting, 1, 500) > 0) {
        char bytes[256];
        const ssize_t count = read(port, bytes, sizeof(bytes));
        if (count <= 0)
            return reply;
        reply.append(bytes, static_cast<int>(count));
    }
    return reply;
}

// The driver calls this when a watched value changes, and stores the new value after it: the time to note, not to read.
static int valueChanged(int, int, QString *, int)
{
    changed = true;
    return 0; // ignored
}

// One frame and its reply. On 8 and 2 the next call goes on: with the same frame, or after giving it up with the next.
static void pollOnce(int port)
{
    static FRAME_PRO frame;
    if (!DRIVER(intf_getSendFrame)(&frame))
        return;              // nothing to send
    usleep(4000);            // 3.5 characters of silence before each frame
    tcflush(port, TCIFLUSH); // what a late reply left behind
    if (write(port, frame.frame, static_cast<size_t>(frame.frameLen)) != frame.frameLen)
        return;
    QByteArray reply = receive(port, frame.replyLen);
    QString text, type = "4x";
    if (DRIVER(intf_dealRcvFrame)(&reply, &text) == 2)
        std::printf("error %s\n", text.toLatin1().constData());
    unsigned char value[2];
    if (changed && DRIVER(intf_getData)(1, &type, 0, 1, value))
        std::printf("station 1 4x1 = %d\n", value[0] | value[1] << 8);
    changed = false;
}

int main(int argc, char **argv)
{
    library = argc > 2 ? dlopen(argv[1], RTLD_NOW) : 0;
    const int port = library ? openPort(argv[2]) : -1;
    if (port < 0) {
        std::fprintf(stderr, "usage: minimal_host LIBRARY PORT [ROUNDS]: cannot load or open\n");
        return 2;
    }
    std::vector<unsigned char> area(60117); // bytes 60115 and 60116 request block transfers
    std::vector<unsigned short> words(1);   // no recipe rows, no words
    QMutex areaMutex;
    DRIVER(intf_setAddrValueChangeCallBack)(valueChanged);
    DRIVER(intf_initProperty)(&area[0], 0, &words[0], 0, "1#0#0#3#32", &areaMutex);
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = 1;
    key.regType = "4x"; // startAddr 0 is the first register, "1" in the editor
    key.count = 1;
    QList<KEY_ADDRESS> keys = QList<KEY_ADDRESS>() << key;
    DRIVER(intf_addrMerge)(&keys);
    for (int rounds = argc > 3 ? std::atoi(argv[3]) : 10; rounds > 0; --rounds)
        pollOnce(port);
    dlclose(library);
    return 0;
}
