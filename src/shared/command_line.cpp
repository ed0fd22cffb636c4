#include "shared/command_line.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <utility>

#include <CLI/CLI.hpp>

namespace ssd_op::shared {

namespace {

/// The command that the command line has been understood to name, or the one within it, or the
/// program; and how it is called.
std::pair<const CLI::App*, std::string> named_in(const CLI::App& app) {
    for (const CLI::App* command : app.get_subcommands()) {
        if (command->get_name().empty()) continue;  // a group of options
        const auto [deepest, name] = named_in(*command);
        return {deepest, app.get_name() + " " + name};
    }
    return {&app, app.get_name()};
}

std::string complaint_of(const CLI::App& program, const CLI::App& named,
                         const CLI::ParseError& error) {
    const bool lacks_command = error.get_name() == "RequiredError" &&
                               named.get_require_subcommand_min() > 0 &&
                               named.get_subcommands().empty();
    if (!lacks_command) return error.what();
    return program.remaining_size(true) > 0 ? "There is no such command." : "No command is named.";
}

}  // namespace

Argument Argument::required() { return Argument(option_->required()); }

Argument Argument::needs(Argument other) { return Argument(option_->needs(other.option_)); }

Argument Argument::excludes(Argument other) { return Argument(option_->excludes(other.option_)); }

Argument Argument::shows_default() { return Argument(option_->capture_default_str()); }

Argument Argument::separated_by(char delimiter) { return Argument(option_->delimiter(delimiter)); }

Argument Argument::in_bytes() { return Argument(option_->transform(CLI::AsSizeValue(false))); }

Argument Argument::one_of(std::vector<std::string> words) {
    return Argument(option_->check(CLI::IsMember(std::move(words))));
}

template <typename Number>
Argument Argument::between(Number least, Number most) {
    return Argument(option_->check(CLI::Range(least, most)));
}

Argument Argument::positive() { return Argument(option_->check(CLI::PositiveNumber)); }

Argument Argument::not_negative() { return Argument(option_->check(CLI::NonNegativeNumber)); }

Argument Argument::check(std::function<std::string(const std::string&)> complaint) {
    return Argument(option_->check(std::move(complaint)));
}

Arguments::Arguments(const char* description, const char* name)
    : Arguments(std::make_shared<CLI::App>(description, name)) {}

Arguments::Arguments(std::shared_ptr<CLI::App> app) : app_(std::move(app)) {}

template <typename Value>
Argument Arguments::add(const char* name, Value& value, const char* help) {
    return Argument(app_->add_option(name, value, help));
}

Argument Arguments::flag(const char* name, bool& value, const char* help) {
    return Argument(app_->add_flag(name, value, help));
}

Arguments Arguments::alternatives(const char* title) {
    return Arguments(app_->get_subcommand_ptr(app_->add_option_group(title)->require_option(1)));
}

Arguments Arguments::subcommand(const char* name, const char* description) {
    return Arguments(app_->get_subcommand_ptr(app_->add_subcommand(name, description)));
}

void Arguments::require_one_subcommand() { app_->require_subcommand(1); }

void Arguments::callback(std::function<void()> run) { app_->callback(std::move(run)); }

void Arguments::footer(const std::string& text) { app_->footer(text); }

void Arguments::version(const std::string& text) {
    app_->set_version_flag("--version", text, "Print the version and exit");
}

std::optional<int> Arguments::parse(int argc, char** argv) {
    try {
        app_->parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app_->exit(error);  // help, or the version
        const auto [named, name] = named_in(*app_);
        std::fprintf(stderr, "%s: %s\n%s --help tells what there is.\n", name.c_str(),
                     complaint_of(*app_, *named, error).c_str(), name.c_str());
        return error.get_exit_code();
    }
    return std::nullopt;
}

template Argument Argument::between(int, int);
template Argument Argument::between(uint64_t, uint64_t);
template Argument Argument::between(double, double);

template Argument Arguments::add(const char*, int&, const char*);
template Argument Arguments::add(const char*, int64_t&, const char*);
template Argument Arguments::add(const char*, unsigned&, const char*);
template Argument Arguments::add(const char*, uint64_t&, const char*);
template Argument Arguments::add(const char*, double&, const char*);
template Argument Arguments::add(const char*, std::string&, const char*);
template Argument Arguments::add(const char*, std::optional<int>&, const char*);
template Argument Arguments::add(const char*, std::optional<uint64_t>&, const char*);
template Argument Arguments::add(const char*, std::optional<double>&, const char*);
template Argument Arguments::add(const char*, std::vector<int>&, const char*);
template Argument Arguments::add(const char*, std::vector<std::string>&, const char*);
template Argument Arguments::add(const char*, std::array<double, 2>&, const char*);
template Argument Arguments::add(const char*, std::array<double, 5>&, const char*);

}  // namespace ssd_op::shared
