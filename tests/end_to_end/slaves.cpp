#include "slaves.h"

#include "plant_line.h"
#include "support/line_parameters.h"
#include "support/table_names.h"

#include <cstdio>
#include <stdexcept>

#include <sys/wait.h>
#include <unistd.h>

namespace {

class LibmodbusSlaves : public Slaves
{
public:
    LibmodbusSlaves()
    {
        for (int station : {1, 2}) {
            for (const TableName &name : TableNames)
                m_plant.define(station, name.table, 0, 65536);
        }
        std::string error;
        if (!m_plant.start(&error))
            throw std::runtime_error(error);
        m_line = std::make_unique<PlantLine>(m_plant);
    }

    rtu::Line &line() override { return *m_line; }

    int peek(int station, const std::string &table, int address) override
    {
        return m_plant.peek(station, tableNamed(table), address);
    }

    void poke(int station, const std::string &table, int address, int value) override
    {
        m_plant.poke(station, tableNamed(table), address, static_cast<std::uint16_t>(value));
    }

private:
    plant::Plant m_plant;
    std::unique_ptr<PlantLine> m_line;
};

/** A program that answers one line with one line. */
class Dialogue
{
public:
    explicit Dialogue(const char *script)
    {
        int toChild[2];
        int fromChild[2];
        if (::pipe(toChild) != 0 || ::pipe(fromChild) != 0)
            throw std::runtime_error("no pipe");
        m_child = ::fork();
        if (m_child == 0) {
            ::dup2(toChild[0], STDIN_FILENO);
            ::dup2(fromChild[1], STDOUT_FILENO);
            for (int end : {toChild[0], toChild[1], fromChild[0], fromChild[1]})
                ::close(end);
            ::execl(END_TO_END_PYTHON, END_TO_END_PYTHON, script, static_cast<char *>(nullptr));
            ::_exit(127);
        }
        ::close(toChild[0]);
        ::close(fromChild[1]);
        m_out = ::fdopen(toChild[1], "w");
        m_in = ::fdopen(fromChild[0], "r");
    }

    ~Dialogue()
    {
        std::fclose(m_out);
        std::fclose(m_in);
        ::waitpid(m_child, nullptr, 0);
    }

    Dialogue(const Dialogue &) = delete;
    Dialogue &operator=(const Dialogue &) = delete;

    std::string hear()
    {
        char text[256];
        if (!std::fgets(text, sizeof text, m_in))
            throw std::runtime_error("the second slave ended; is python3-pymodbus installed?");
        std::string line = text;
        line.erase(line.find_last_not_of('\n') + 1);
        return line;
    }

    std::string ask(const std::string &question)
    {
        std::fprintf(m_out, "%s\n", question.c_str());
        std::fflush(m_out);
        return hear();
    }

private:
    pid_t m_child;
    std::FILE *m_out;
    std::FILE *m_in;
};

class PymodbusSlaves : public Slaves
{
public:
    PymodbusSlaves() : m_program(END_TO_END_PYMODBUS_SLAVE)
    {
        const std::string greeting = m_program.hear();
        const std::string word = "device ";
        if (greeting.compare(0, word.size(), word) != 0)
            throw std::runtime_error("the second slave says: " + greeting);
        m_line = std::make_unique<rtu::SerialLine>(greeting.substr(word.size()), test_line::unpaced());
        m_line->open();
    }

    rtu::Line &line() override { return *m_line; }

    int peek(int station, const std::string &table, int address) override
    {
        return std::stoi(m_program.ask("peek " + place(station, table, address)));
    }

    void poke(int station, const std::string &table, int address, int value) override
    {
        m_program.ask("poke " + place(station, table, address) + " " + std::to_string(value));
    }

private:
    static std::string place(int station, const std::string &table, int address)
    {
        return std::to_string(station) + " " + table + " " + std::to_string(address);
    }

    Dialogue m_program;
    std::unique_ptr<rtu::SerialLine> m_line;
};

} // namespace

std::unique_ptr<Slaves> startSlaves(SlaveKind kind)
{
    if (kind == SlaveKind::Pymodbus)
        return std::make_unique<PymodbusSlaves>();
    return std::make_unique<LibmodbusSlaves>();
}

const char *slaveName(SlaveKind kind)
{
    return kind == SlaveKind::Pymodbus ? "Pymodbus" : "Libmodbus";
}
