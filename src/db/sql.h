#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>

#include <sqlite3.h>

namespace ssd_op::db {

/// Owner of something that SQLite gives and takes back with `Release`.
template <auto Release>
struct ReleaseWith {
    template <typename T>
    void operator()(T* owned) const {
        Release(owned);
    }
};
using Sql = std::unique_ptr<char, ReleaseWith<sqlite3_free>>;
using Connection = std::unique_ptr<sqlite3, ReleaseWith<sqlite3_close>>;
using Statement = std::unique_ptr<sqlite3_stmt, ReleaseWith<sqlite3_finalize>>;

/// The text of a statement, as sqlite3_mprintf makes it. A text value that stands between single
/// quotes has the placeholder %q, so that it reaches the database byte for byte.
template <typename... Values>
Sql sql(const char* format, Values... values) {
    static_assert((std::is_scalar_v<Values> && ...),
                  "values go through a C variable argument list");
    Sql text(sqlite3_mprintf(format, values...));
    if (!text) throw std::bad_alloc();
    return text;
}

/// As strtoull reads it; faster where there are millions of them.
inline uint64_t unsigned_decimal(const char* text) {
    constexpr int kDigitsThatFit = 19;
    uint64_t value = 0;
    int digits = 0;
    for (; text[digits] >= '0' && text[digits] <= '9' && digits <= kDigitsThatFit; ++digits)
        value = value * 10 + static_cast<uint64_t>(text[digits] - '0');
    const bool is_plain = digits > 0 && digits <= kDigitsThatFit;
    return is_plain ? value : std::strtoull(text, nullptr, 10);
}

/// The current row of a query. A NULL column reads as an empty text or 0.
class Row {
  public:
    explicit Row(sqlite3_stmt* statement) : statement_(statement) {}

    const char* text(int column) const {
        const unsigned char* text = sqlite3_column_text(statement_, column);
        return text == nullptr ? "" : reinterpret_cast<const char*>(text);
    }
    int64_t integer64(int column) const { return sqlite3_column_int64(statement_, column); }
    int integer(int column) const { return static_cast<int>(integer64(column)); }
    /// Sizes and figures are text in the database: SQLite's integers end at 63 bits.
    uint64_t unsigned_decimal(int column) const { return db::unsigned_decimal(text(column)); }
    uint64_t unsigned_any_base(int column) const { return std::strtoull(text(column), nullptr, 0); }

  private:
    sqlite3_stmt* statement_;
};

}  // namespace ssd_op::db
