#pragma once

#include <string>

namespace ssd_op::evaluation {

/// What a look at the appliance's process list has found.
struct Look {
    int pid = 0;               ///< the first process that was meant; 0: none
    std::string line;          ///< its line
    bool only_others = false;  ///< there were lines, but of none that was meant
};

/// Processes as the appliance's process list tells them: those whose line holds a program and what
/// it works on, such as a drive's name, neither as part of a longer name or number. The calling
/// process, whose own arguments may well hold both, is never meant. An empty term is no name: it
/// means no process, and no list is printed for it.
class ProcessList {
  public:
    ProcessList(std::string program, std::string term)
        : program_(std::move(program)), term_(std::move(term)) {}

    bool means_any() const { return !term_.empty(); }
    const std::string& program() const { return program_; }
    const std::string& term() const { return term_; }

    /// @param listing  shell line that prints lines of the list, cut to `limit` - 1 bytes
    Look look(const std::string& listing, int limit) const;

  private:
    std::string program_;
    std::string term_;
};

/// The process id at the start of a line of the list; 0 when there is none.
int leading_process_id(const std::string& line);

}  // namespace ssd_op::evaluation
