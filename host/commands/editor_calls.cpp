#include "host/commands/editor_calls.h"

#include "host/tags/address_hint.h"
#include "host/tags/tag.h"
#include "host/tags/tag_table.h"
#include "host/text/json.h"

#include <QtCore/QVector>

#include <cstdlib>
#include <sstream>
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
    if (result.type)
        result.text = inDecimals(argument.substr(result.typeName.size(), colon - result.typeName.size()));
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

/** What is said about one address of a check. */
struct Verdict
{
    std::string address;
    AddressCheck reading;
    AddressCheck writing;
    std::string reason;
    std::string writeReason;
};

void printVerdict(const Verdict &verdict, const Options &options, std::ostream &out)
{
    const bool good = verdict.reading.result == 0;
    if (options.form == OutputForm::Json) {
        Json json = {{"address", verdict.address},
                     {"result", verdict.reading.result},
                     {"reason", verdict.reason},
                     {"write_result", verdict.writing.result},
                     {"write_reason", verdict.writeReason}};
        if (good)
            json["zero_based"] = verdict.reading.address;
        out << jsonText(json) << '\n';
        return;
    }
    out << verdict.address << ": " << verdict.reason;
    if (good)
        out << ", zero-based address " << verdict.reading.address << "; writing: " << verdict.writeReason;
    else
        out << " (result " << verdict.reading.result << ")";
    out << '\n';
}

/** "4x100:hex", and what the driver says to it. */
Verdict verdictOn(DriverLibrary &driver, const RegisterCatalog &catalog, const std::string &text, int values)
{
    const AddressArgument address = split(catalog, text);
    RegisterType type;
    type.name = address.typeName;
    if (address.type)
        type = *address.type;
    const int count = values * type.unitsPerValue();
    Verdict result;
    result.address = text;
    result.reading = checkAddress(driver, type, address.text, count, address.format, Access::Read);
    result.writing = checkAddress(driver, type, address.text, count, address.format, Access::Write);
    std::string hint = result.reading.result == 0 ? std::string() : addressHint(catalog, text);
    if (!address.type && hint.empty())
        hint = "; there are " + catalog.names();
    result.reason = verdict(address, result.reading) + hint;
    result.writeReason = verdict(address, result.writing);
    return result;
}

/** A range or a list of stations has the faults of its own notation as well. */
bool checkNotation(DriverLibrary &driver, const RegisterCatalog &catalog, const Options &options,
                   const std::string &text, std::ostream &out)
{
    bool good = true;
    for (const TagRange &tag : parseTags(driver, catalog, text, options.stations, options.values)) {
        const std::string whole = tag.label() + ":" + formatName(tag.format.format, tag.format.width);
        Verdict result = verdictOn(driver, catalog, whole, tag.values);
        result.address = tag.place();
        printVerdict(result, options, out);
        good = good && result.reading.result == 0;
    }
    return good;
}

void printRefusal(const std::string &text, const std::string &reason, const Options &options, std::ostream &out)
{
    if (options.form == OutputForm::Json)
        out << jsonText({{"address", text}, {"result", nullptr}, {"reason", reason}}) << '\n';
    else
        out << text << ": " << reason << '\n';
}

/** @return false: it is not valid */
bool checkOne(DriverLibrary &driver, const RegisterCatalog &catalog, const Options &options, const std::string &text,
              std::ostream &out)
{
    try {
        if (text.find("..") != std::string::npos || text.find('@') != std::string::npos)
            return checkNotation(driver, catalog, options, text, out);
        const Verdict result = verdictOn(driver, catalog, text, options.values);
        printVerdict(result, options, out);
        return result.reading.result == 0;
    } catch (const std::invalid_argument &error) {
        const std::string reason = error.what();
        const bool hinted = reason.find("; did you mean") != std::string::npos;
        printRefusal(text, hinted ? reason : reason + addressHint(catalog, text), options, out);
        return false;
    }
}

/** All faults of a tag file, or how many tags it has. */
bool checkTagFile(DriverLibrary &driver, const RegisterCatalog &catalog, const Options &options, std::ostream &out)
{
    try {
        const std::size_t tags = readTagFile(driver, catalog, options.tagFile).size();
        printRefusal(options.tagFile, std::to_string(tags) + (tags == 1 ? " tag, valid" : " tags, all valid"), options,
                     out);
        return true;
    } catch (const std::invalid_argument &error) {
        std::istringstream faults(error.what());
        for (std::string fault; std::getline(faults, fault);) {
            if (options.form == OutputForm::Json)
                out << jsonText({{"file", options.tagFile}, {"fault", fault}}) << '\n';
            else
                out << fault << '\n';
        }
        return false;
    }
}

int checkAll(DriverLibrary &driver, const RegisterCatalog &catalog, const Options &options, std::ostream &out)
{
    bool good = options.tagFile.empty() || checkTagFile(driver, catalog, options, out);
    if (!options.subject.empty())
        good = checkOne(driver, catalog, options, options.subject, out) && good;
    for (const std::string &text : options.arguments)
        good = checkOne(driver, catalog, options, text, out) && good;
    return good ? 0 : 1;
}

/** A 32-bit value takes two registers: a step of one lays copies over each other. */
bool overlaps(const RegisterType &type, const QVector<int> &addresses)
{
    for (int i = 1; i < addresses.size(); ++i) {
        if (std::abs(addresses.at(i) - addresses.at(i - 1)) < type.unitsPerValue())
            return true;
    }
    return false;
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
    const bool overlap = address.type->isDouble() && overlaps(*address.type, addresses);
    for (int i = 0; i < texts.size(); ++i) {
        const std::string copied = texts.at(i).toStdString();
        // Only the upper end is clamped by the driver; a step may also lead below the first address.
        const AddressCheck copy =
            checkAddress(driver, *address.type, copied, address.type->unitsPerValue(), address.format, Access::Read);
        allValid = allValid && copy.result == 0;
        const std::string text = address.typeName + copied;
        if (options.form == OutputForm::Json)
            out << jsonText({{"copy", i},
                             {"address", text},
                             {"zero_based", addresses.at(i)},
                             {"valid", copy.result == 0},
                             {"overlaps", overlap}})
                << '\n';
        else
            out << text << " (zero-based " << addresses.at(i) << ")"
                << (copy.result == 0 ? "" : ": " + verdict(address, copy)) << '\n';
    }
    if (overlap && options.form == OutputForm::Lines)
        out << "warning: copies overlap, a 32-bit value takes two registers: --step 2 lays them side by side\n";
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
        return checkAll(driver, catalog, options, out);
    case Mode::MultiCopy:
        return multiCopy(driver, catalog, options, out);
    default:
        return listTypes(catalog, options, out);
    }
}

} // namespace rtu
