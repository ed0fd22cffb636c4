#include "measure.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

[[noreturn]] void become(const Command& command, const std::string& input,
                         const std::string& output) {
    ::dup2(::open(input.empty() ? "/dev/null" : input.c_str(), O_RDONLY), STDIN_FILENO);
    ::dup2(::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), STDOUT_FILENO);
    std::vector<char*> words;
    for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    ::execvp(words[0], words.data());
    ::_exit(127);
}

double middle(std::vector<Figure> figures, double Figure::*value) {
    const auto at = figures.begin() + std::ssize(figures) / 2;
    std::nth_element(figures.begin(), at, figures.end(),
                     [value](const Figure& a, const Figure& b) { return a.*value < b.*value; });
    return (*at).*value;
}

}  // namespace

Figure run(const Command& command, const std::string& input, const std::string& output) {
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = ::fork();
    if (child == 0) become(command, input, output);
    int status = -1;
    rusage usage{};
    if (child < 0 || ::wait4(child, &status, 0, &usage) != child || status != 0)
        throw std::runtime_error("failed: " + command[0] + " " +
                                 (command.size() > 1 ? command[1] : ""));
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    return {took.count(), static_cast<double>(usage.ru_maxrss) / 1024};
}

Figure median(const std::vector<Figure>& figures) {
    return {middle(figures, &Figure::seconds), middle(figures, &Figure::mib)};
}

}  // namespace bench
