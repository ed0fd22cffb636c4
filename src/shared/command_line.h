#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace ssd_op::shared {

/// An option, a flag or a positional argument, and what is asked of its value.
class Argument {
  public:
    explicit Argument(CLI::Option* option) : option_(option) {}

    Argument required();
    Argument needs(Argument other);
    Argument excludes(Argument other);
    /// The help tells the value that it has now.
    Argument shows_default();
    Argument separated_by(char delimiter);
    /// A number that may have a unit: 4k are 4096.
    Argument in_bytes();

    Argument one_of(std::vector<std::string> words);
    /// The help names the type of the limits: int, uint64_t or double.
    template <typename Number>
    Argument between(Number least, Number most);
    Argument positive();
    Argument not_negative();
    /// @param complaint what is wrong with the text of a value; empty when nothing is
    Argument check(std::function<std::string(const std::string&)> complaint);

  private:
    CLI::Option* option_;
};

/// What a program, or one of its commands, understands; copies stand for the same one. It is here
/// so that the templates of CLI11 are compiled once, and not in every file with a command.
class Arguments {
  public:
    /// @param name of the program; without it, the one that it was called by
    explicit Arguments(const char* description, const char* name = "");

    /// @param value set when the argument is given; of a type listed at the end of command_line.cpp
    template <typename Value>
    Argument add(const char* name, Value& value, const char* help);
    Argument flag(const char* name, bool& value, const char* help);
    /// A group of arguments of which exactly one has to be given.
    Arguments alternatives(const char* title);

    Arguments subcommand(const char* name, const char* description);
    void require_one_subcommand();
    /// What is done when the command line has been understood, and asks for this.
    void callback(std::function<void()> run);
    void footer(const std::string& text);
    /// The flag --version, which prints this.
    void version(const std::string& text);

    /// Runs callbacks, whose exceptions it lets through.
    /// @return what to exit with when help or a complaint was all there is to print
    std::optional<int> parse(int argc, char** argv);

  private:
    explicit Arguments(std::shared_ptr<CLI::App> app);

    std::shared_ptr<CLI::App> app_;
};

}  // namespace ssd_op::shared
