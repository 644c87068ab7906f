/**
 * @file
 * How --help looks: what stands around the options, and the layout of their list.
 */
#ifndef RTU_HOST_HELP_TEXT_H
#define RTU_HOST_HELP_TEXT_H

#include <CLI/CLI.hpp>

#include <string>

namespace rtu {

extern const char *const HelpUsage;
extern const char *const HelpDescription;
extern const char *const HelpFooter;

/** Help in 80 columns, with the name of an argument instead of its type and range. */
class HelpFormatter : public CLI::Formatter
{
public:
    std::string make_usage(const CLI::App *app, std::string name) const override;
    std::string make_option_opts(const CLI::Option *option) const override;
    std::string make_option_desc(const CLI::Option *option) const override;
};

} // namespace rtu

#endif
