// The tree of commands, walked.
#include "option_dump.h"

#include <nlohmann/json.hpp>

namespace cli {

namespace {

using Json = nlohmann::ordered_json;

Json names_of(const CLI::Option& option) {
    Json names = Json::array();
    for (const std::string& name : option.get_snames()) {
        names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

Json option_of(const CLI::Option& option) {
    const bool flag = option.get_items_expected_max() == 0;
    return {{"names", names_of(option)},
            {"value", flag ? "" : option.get_type_name()},
            {"help", option.get_description()},
            {"default", option.get_default_str()},
            {"group", option.get_group()},
            {"required", option.get_required()},
            {"many", !flag && option.get_items_expected_max() > 1}};
}

Json command_of(const CLI::App& app) {
    Json options = Json::array();
    for (const CLI::Option* option : app.get_options()) {
        if (!option->get_group().empty()) {
            options.push_back(option_of(*option));
        }
    }
    Json commands = Json::array();
    for (const CLI::App* command :
         app.get_subcommands([](const CLI::App* one) { return !one->get_group().empty(); })) {
        commands.push_back(command_of(*command));
    }
    return {{"name", app.get_name()},
            {"help", app.get_description()},
            {"footer", app.get_footer()},
            {"options", std::move(options)},
            {"commands", std::move(commands)}};
}

} // namespace

std::string dump_options(const CLI::App& app) {
    return command_of(app).dump(1) + "\n";
}

} // namespace cli
