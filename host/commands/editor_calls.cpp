#include "host/commands/editor_calls.h"

#include "host/text/json.h"
#include "host/tags/tag.h"

#include <QtCore/QVector>

#include <stdexcept>

namespace rtu {

namespace {

/** An address on the command line before the driver has judged it. */
struct AddressArgument
{
    std::string typeName;
    std::string text;
    const RegisterType *type;
    Format format;
};

AddressArgument split(const RegisterCatalog &catalog, const std::string &argument)
{
    AddressArgument result;
    result.type = catalog.prefixOf(argument);
    result.typeName = result.type ? result.type->name : argument;
    const std::size_t colon = argument.find(':');
    const std::string format = colon == std::string::npos ? std::string() : argument.substr(colon + 1);
    result.text = result.type ? argument.substr(result.typeName.size(), colon - result.typeName.size()) : std::string();
    result.format = result.type ? formatFromName(format, *result.type) : Format::Unsigned;
    return result;
}

std::string typeLine(const RegisterType &type)
{
    const char *const kinds[] = {"bit", "16-bit register", "32-bit value"};
    return type.name + ": " + kinds[type.width] + ", written " + type.notation + ", from " + type.lowest + " to "
           + type.highest + (type.writable ? ", writable" : ", read-only");
}

std::string typeJson(const RegisterType &type)
{
    const char *const kinds[] = {"bit", "register", "double"};
    return jsonText({{"type", type.name},
                     {"kind", kinds[type.width]},
                     {"notation", type.notation},
                     {"lowest", type.lowest},
                     {"highest", type.highest},
                     {"writable", type.writable}});
}

void printType(const RegisterType &type, const Options &options, std::ostream &out)
{
    out << (options.form == OutputForm::Json ? typeJson(type) : typeLine(type)) << '\n';
}

int describe(const RegisterCatalog &catalog, const Options &options, std::ostream &out)
{
    const RegisterType *type = catalog.find(options.subject);
    if (!type)
        throw std::invalid_argument("unknown register type \"" + options.subject + "\"; there are " + catalog.names());
    printType(*type, options, out);
    return 0;
}

int listTypes(const RegisterCatalog &catalog, const Options &options, std::ostream &out)
{
    for (const RegisterType &type : catalog.types())
        printType(type, options, out);
    return 0;
}

std::string verdict(const AddressArgument &address, const AddressCheck &check)
{
    return addressCheckText(check.result, address.typeName, address.type);
}

int checkOne(DriverLibrary &driver, const RegisterCatalog &catalog, const Options &options, std::ostream &out)
{
    const AddressArgument address = split(catalog, options.subject);
    RegisterType type;
    type.name = address.typeName;
    if (address.type)
        type = *address.type;
    const int count = options.values * type.unitsPerValue();
    const AddressCheck reading = checkAddress(driver, type, address.text, count, address.format, Access::Read);
    const AddressCheck writing = checkAddress(driver, type, address.text, count, address.format, Access::Write);
    if (options.form == OutputForm::Json) {
        Json json = {{"address", options.subject},
                     {"result", reading.result},
                     {"reason", verdict(address, reading)},
                     {"write_result", writing.result},
                     {"write_reason", verdict(address, writing)}};
        if (reading.result == 0)
            json["zero_based"] = reading.address;
        out << jsonText(json) << '\n';
        return reading.result == 0 ? 0 : 1;
    }
    out << options.subject << ": " << verdict(address, reading);
    if (reading.result == 0)
        out << ", zero-based address " << reading.address << "; writing: " << verdict(address, writing);
    else
        out << " (result " << reading.result << ")";
    out << '\n';
    return reading.result == 0 ? 0 : 1;
}

int multiCopy(DriverLibrary &driver, const RegisterCatalog &catalog, const Options &options, std::ostream &out)
{
    const AddressArgument address = split(catalog, options.subject);
    if (!address.type)
        throw std::invalid_argument("unknown register type in \"" + options.subject + "\"; there are "
                                    + catalog.names());
    const AddressCheck check =
        checkAddress(driver, *address.type, address.text, address.type->unitsPerValue(), address.format, Access::Read);
    if (check.result != 0)
        throw std::invalid_argument(options.subject + ": " + verdict(address, check));
    QString type = QString::fromStdString(address.typeName);
    QVector<QString> texts;
    QVector<int> addresses;
    const int result = driver.multiCopy(&type, check.address, options.copies, options.step, &texts, &addresses);
    bool allValid = true;
    for (int i = 0; i < texts.size(); ++i) {
        const std::string copied = texts.at(i).toStdString();
        // Only the upper end is clamped by the driver; a step may also lead below the first address.
        const AddressCheck copy =
            checkAddress(driver, *address.type, copied, address.type->unitsPerValue(), address.format, Access::Read);
        allValid = allValid && copy.result == 0;
        const std::string text = address.typeName + copied;
        if (options.form == OutputForm::Json)
            out << jsonText(
                {{"copy", i}, {"address", text}, {"zero_based", addresses.at(i)}, {"valid", copy.result == 0}})
                << '\n';
        else
            out << text << " (zero-based " << addresses.at(i) << ")"
                << (copy.result == 0 ? "" : ": " + verdict(address, copy)) << '\n';
    }
    const bool clamped = result == 2;
    if (clamped && options.form == OutputForm::Lines)
        out << "some copies lay past " << address.type->highest << " and were set to the last element\n";
    return clamped || !allValid ? 1 : 0;
}

} // namespace

int runEditorCall(DriverLibrary &driver, const RegisterCatalog &catalog, const Options &options, std::ostream &out)
{
    switch (options.mode) {
    case Mode::Describe:
        return describe(catalog, options, out);
    case Mode::Check:
        return checkOne(driver, catalog, options, out);
    case Mode::MultiCopy:
        return multiCopy(driver, catalog, options, out);
    default:
        return listTypes(catalog, options, out);
    }
}

} // namespace rtu
