/// kanalytic_tool: takes the anonymous summaries that applications send to the maker of the
/// appliance. This one keeps them, so that anybody can see what would have been sent.
///
///     kanalytic_tool send -p PRODUCT -r KIND -t FIELDS -e FIELDS
///     kanalytic_tool flush -p PRODUCT
///     kanalytic_tool show
///
/// FIELDS are key=value, with tabs between them.

#include <array>
#include <sstream>
#include <string>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <time.h>

#include "core/query.h"
#include "programs/program.h"

namespace {

struct Upload {
    std::string product;
    std::string kind;
    std::string test;
    std::string event;
};

int keep(const char* action, const Upload& upload) {
    appliance::change(
        "INSERT INTO upload(time, action, product, kind, test, event) VALUES(?, ?, ?, ?, ?, ?)",
        static_cast<int64_t>(::time(nullptr)), action, upload.product, upload.kind, upload.test,
        upload.event);
    return 0;
}

void show_fields(const std::string& fields) {
    std::istringstream stream(fields);
    for (std::string field; std::getline(stream, field, '\t');) {
        if (field.empty()) continue;
        const size_t equals = field.find('=');
        fmt::print("  {:<22}{}\n", field.substr(0, equals),
                   equals == std::string::npos ? "" : field.substr(equals + 1));
    }
}

int show() {
    SQLite::Statement uploads = appliance::statement(
        "SELECT datetime(time, 'unixepoch'), action, product, kind, test, event FROM upload"
        " ORDER BY upload_no");
    bool any = false;
    while (uploads.executeStep()) {
        any = true;
        const auto text = [&](int column) { return uploads.getColumn(column).getString(); };
        fmt::print("{} UTC  {} {} {}\n", text(0), text(1), text(2), text(3));
        show_fields(text(4));
        show_fields(text(5));
    }
    if (!any) fmt::print("Nothing has been sent.\n");
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    return appliance::run_program("kanalytic_tool", argc, argv, [&] {
        Upload upload;
        CLI::App app("Send anonymous summaries.");
        app.require_subcommand(1);
        CLI::App* const send = app.add_subcommand("send", "Queue a summary");
        CLI::App* const flush = app.add_subcommand("flush", "Send what is queued");
        app.add_subcommand("show", "Print what has been sent");
        for (CLI::App* command : {send, flush})
            command->add_option("-p", upload.product, "Product")->required();
        send->add_option("-r", upload.kind, "Kind of summary");
        send->add_option("-t", upload.test, "Fields of the test");
        send->add_option("-e", upload.event, "Fields of the event");
        CLI11_PARSE(app, argc, argv);
        if (send->parsed()) return keep("send", upload);
        return flush->parsed() ? keep("flush", upload) : show();
    });
}
