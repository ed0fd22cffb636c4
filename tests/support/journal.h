#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

namespace support {

/// Which use of a call: the n-th, from 1.
struct Nth {
    int use;
    explicit constexpr Nth(int nth) : use(nth) {}
};
inline constexpr Nth kEveryUse{0};

/// How often something happened.
struct Times {
    int count;
    explicit constexpr Times(int times) : count(times) {}
};

/// One platform call, or one program that was started.
struct JournalRow {
    int64_t row_no;
    int pid;
    std::string name;
    std::string arguments;
    std::string result;
};

/// One use of a call: what a fault can be set for.
struct CallUse {
    std::string name;
    int nth;
};

/// What the appliance was asked to do since it was installed, as it stood when the test looked.
class Journal {
  public:
    Journal() = default;
    explicit Journal(std::vector<JournalRow> rows) : rows_(std::move(rows)) {}

    const std::vector<JournalRow>& rows() const { return rows_; }
    std::vector<JournalRow> rows(const std::string& name) const;
    int count(const std::string& name) const;

    bool shows(const std::string& name) const { return count(name) > 0; }
    bool shows(const std::string& name, Times times) const { return count(name) == times.count; }
    /// With these words in the arguments, as the journal has them.
    bool shows(const std::string& name, const std::string& in_arguments) const;
    int count(const std::string& name, const std::string& in_arguments) const;

    /// These calls one after the other, others in between or not.
    bool shows_in_order(const std::vector<std::string>& names) const;
    /// How often each call was used.
    std::map<std::string, int> counts() const;
    /// Every use of every call, to let each fail in turn.
    std::vector<CallUse> uses() const;

  private:
    std::vector<JournalRow> rows_;
};

std::ostream& operator<<(std::ostream& out, const JournalRow& row);
std::ostream& operator<<(std::ostream& out, const Journal& journal);

}  // namespace support
