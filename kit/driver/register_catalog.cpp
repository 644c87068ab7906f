#include "kit/driver/register_catalog.h"

#include <QtCore/QList>

namespace rtu {

namespace {

RegisterType describe(DriverLibrary &driver, const QString &name)
{
    QString text = name;
    QList<QString> lines;
    driver.getRegDiscription(&text, &lines); // its result says nothing; the list grows for known types
    RegisterType type;
    type.name = name.toStdString();
    type.notation = lines.value(0).toStdString();
    type.lowest = lines.value(1).toStdString();
    type.highest = lines.value(2).toStdString();
    type.width = lines.value(3).toInt();
    type.writable = lines.value(4) == QLatin1String("1");
    type.bitInRegister = type.notation.find('.') != std::string::npos;
    return type;
}

} // namespace

RegisterCatalog::RegisterCatalog(DriverLibrary &driver)
{
    QList<QString> names;
    driver.getRegListByType(0, &names);
    driver.getRegListByType(1, &names);
    for (int i = 0; i < names.size(); ++i)
        m_types.push_back(describe(driver, names.at(i)));
}

const RegisterType *RegisterCatalog::find(const std::string &name) const
{
    for (const RegisterType &type : m_types) {
        if (type.name == name)
            return &type;
    }
    return nullptr;
}

const RegisterType *RegisterCatalog::prefixOf(const std::string &text) const
{
    const RegisterType *longest = nullptr;
    for (const RegisterType &type : m_types) {
        const bool begins = text.compare(0, type.name.size(), type.name) == 0;
        if (begins && (!longest || type.name.size() > longest->name.size()))
            longest = &type;
    }
    return longest;
}

std::string RegisterCatalog::names() const
{
    std::string text;
    for (const RegisterType &type : m_types)
        text += (text.empty() ? "" : ", ") + type.name;
    return text;
}

std::string addressText(const RegisterType &type, int address)
{
    if (type.bitInRegister)
        return std::to_string(address / 16 + 1) + "." + std::to_string(address % 16);
    return std::to_string(address + 1);
}

} // namespace rtu
