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

#include <fmt/format.h>
#include <time.h>

#include "core/query.h"
#include "programs/program.h"
#include "shared/command_line.h"

namespace {

using ssd_op::shared::Arguments;

struct Upload {
    std::string product;
    std::string kind;
    std::string test;
    std::string event;
};

void keep(const char* action, const Upload& upload) {
    appliance::change(
        "INSERT INTO upload(time, action, product, kind, test, event) VALUES(?, ?, ?, ?, ?, ?)",
        static_cast<int64_t>(::time(nullptr)), action, upload.product, upload.kind, upload.test,
        upload.event);
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

void show() {
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
}

}  // namespace

int main(int argc, char** argv) {
    return appliance::run_program("kanalytic_tool", argc, argv, [&] {
        Upload upload;
        Arguments app("Send anonymous summaries.");
        app.require_one_subcommand();
        Arguments send = app.subcommand("send", "Queue a summary");
        Arguments flush = app.subcommand("flush", "Send what is queued");
        for (Arguments command : {send, flush})
            command.add("-p", upload.product, "Product").required();
        send.add("-r", upload.kind, "Kind of summary");
        send.add("-t", upload.test, "Fields of the test");
        send.add("-e", upload.event, "Fields of the event");
        send.callback([&] { keep("send", upload); });
        flush.callback([&] { keep("flush", upload); });
        app.subcommand("show", "Print what has been sent").callback(show);
        return app.parse(argc, argv).value_or(0);
    });
}
