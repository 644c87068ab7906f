#include "host/cli/help_text.h"

#include <sstream>

namespace rtu {

const char *const HelpUsage = "rtuhost [OPTIONS] PORT [ADDRESS...] [VALUE...]";

const char *const HelpDescription = "Polls, reads and writes Modbus RTU slaves through the communication driver\n"
                                    "libmodbus_rtu_master.so.1, loaded as an operator panel loads it.";

const char *const HelpFooter = "Addresses are written as the driver writes them, counted from 1:\n"
                               "  4x100            holding register 100        0x5      coil 5\n"
                               "  4x_bit3.5        bit 5 of register 3         1x5      discrete input 5\n"
                               "  4x_double7       32 bits from register 7     3x20     input register 20\n"
                               "  4x1..10          ten registers               4x100:hex  a format (int16...)\n"
                               "  4x100@2,5-7      stations 2, 5, 6 and 7      4x100=12,13                writes\n"
                               "or as -t, -r and -c say: -t 4:float -r 7 -c 2 is 4x_double7..9:float.\n"
                               "Numbers after an address, or after -r, are written from there on. -1 and -0\n"
                               "alone are options: write 4x5=-1, or -- -1.\n"
                               "\n"
                               "On a terminal the values are shown in a live view; in a pipe, and with -1,\n"
                               "--count, --json, --csv, --plain or -q, they are printed.\n"
                               "\n"
                               "Exit status: 0 no errors, 1 errors on the line or in files, 2 misuse.\n"
                               "\n"
                               "Examples:\n"
                               "  rtuhost -a 1 -b 19200 -t 4 -r 100 -c 10 /dev/ttyUSB0\n"
                               "  rtuhost -b 9600 -P none -s 2 /dev/ttyUSB0 4x100..109 4x_double7:float@2\n"
                               "  rtuhost -1 /dev/ttyUSB0 4x100=1234 0x5=on\n"
                               "  rtuhost --sim plant.sim --tags plant.csv\n"
                               "  rtuhost --plan plan.svg -b 19200 --tags plant.csv";

namespace {

/** Breaks a text into lines of at most so many columns. */
std::string wrapped(const std::string &text, std::size_t width)
{
    std::istringstream words(text);
    std::string result;
    std::string word;
    std::size_t column = 0;
    while (words >> word) {
        const bool fits = column == 0 || column + 1 + word.size() <= width;
        result += column == 0 ? "" : fits ? " " : "\n";
        column = fits && column > 0 ? column + 1 + word.size() : word.size();
        result += word;
    }
    return result;
}

} // namespace

std::string HelpFormatter::make_usage(const CLI::App *, std::string) const
{
    return std::string("\nUsage: ") + HelpUsage + "\n";
}

std::string HelpFormatter::make_option_opts(const CLI::Option *option) const
{
    if (option->get_positional())
        return std::string();
    const std::string type = option->get_type_name();
    return type.empty() ? type : " " + type.substr(0, type.find(':'));
}

std::string HelpFormatter::make_option_desc(const CLI::Option *option) const
{
    return wrapped(option->get_description(), 80 - get_column_width());
}

} // namespace rtu
