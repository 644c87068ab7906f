// A host on the kit: polls two lines, shows changes, writes with a reported end, saves a recipe.
//
//   kit_host PORT PORT [DRIVER]     19200 baud, 8 data bits, even parity, 1 stop bit

#include <modbus_rtu_host/link.h>

#include <cstdio>
#include <memory>

static void show(const char *line, const rtu::TagChange &change)
{
    const char *const qualities[] = {"good", "not confirmed", "never read", "refused", "silent"};
    std::printf("%s %s: %s -> %s (%s)\n", line, change.tag.definition().name.toUtf8().constData(),
                change.before.text().toUtf8().constData(), change.after.text().toUtf8().constData(),
                qualities[static_cast<int>(change.after.quality)]);
}

static std::unique_ptr<rtu::Link> openLine(const char *name, const char *port, const char *driver)
{
    rtu::LinkSettings settings;
    settings.port = QString::fromUtf8(port);
    settings.driver = QString::fromUtf8(driver);
    std::unique_ptr<rtu::Link> link(new rtu::Link(settings));
    link->onChange([name](const rtu::TagChange &change) { show(name, change); });
    link->open();
    return link;
}

int main(int argc, char **argv)
try {
    if (argc < 3)
        throw rtu::Error("usage: kit_host PORT PORT [DRIVER]");
    const std::unique_ptr<rtu::Link> boiler = openLine("boiler", argv[1], argc > 3 ? argv[3] : "");
    const std::unique_ptr<rtu::Link> meters = openLine("meters", argv[2], argc > 3 ? argv[3] : "");

    rtu::TagDefinition setpoint(1, "4x100", rtu::TagFormat::Signed);
    setpoint.name = "setpoint";
    setpoint.scale = 0.1;
    rtu::TagDefinition energy(3, "3x_double1", rtu::TagFormat::Float);
    energy.name = "energy";
    const rtu::Tag wanted = boiler->addTag(setpoint);
    meters->addTag(energy);
    boiler->start(); // each line polls on a thread of its own
    meters->start();

    meters->read(energy).wait(std::chrono::seconds(10));
    const rtu::Write write = boiler->write(wanted, 21.5);
    if (!write.wait(std::chrono::seconds(10)) || write.result().end != rtu::WriteEnd::Acknowledged)
        std::printf("not written: %s\n", write.result().text.toUtf8().constData());

    rtu::RecipeRow row;
    row.where = setpoint;
    const rtu::Transfer saved = boiler->save({row});
    if (saved.wait(std::chrono::seconds(10)) && saved.result().complete())
        std::printf("recipe: %g\n", saved.result().rows[0].value.number());
    return 0;
} catch (const rtu::Error &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 2;
}
