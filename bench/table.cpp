// Measures every work beside its peer and prints one table. Runs inside an appliance.
// usage: bench-table BENCH_WORK REPETITIONS SAMPLES...

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include <fmt/format.h>

#include "measure.h"

namespace {

namespace fs = std::filesystem;
using bench::Command;
using bench::Figure;

constexpr const char* kDatabase = "/share/DATA_1/.Oprella/ssd_op.db";
constexpr const char* kPeerDatabase = "/share/DATA_1/.Oprella/peer.db";
constexpr const char* kLines = "/root/lines";
constexpr const char* kStatements = "/root/statements";
constexpr const char* kOutput = "/tmp/peer_output";
constexpr int kRatios = 20;
constexpr int kUsualSamples = 20 * 3600;
constexpr int kPolls = 500;
constexpr double kBytesOfASample = 40;

/// A work and its peer, each as a command.
struct Pair {
    std::string name;
    int samples;
    Command library, peer;
    std::string peer_input;
    double at_most;
    std::function<void()> before;  ///< every repetition
};

class Bench {
  public:
    Bench(std::string work, int repetitions)
        : work_(std::move(work)),
          repetitions_(repetitions),
          idle_(median_of(command({"nothing"}))),
          idle_peer_(median_of({"sqlite3", ":memory:", "SELECT 1"})) {}

    Command command(Command arguments) const {
        arguments.insert(arguments.begin(), work_);
        return arguments;
    }

    /// Both in turn, so that what else the machine does meets them alike.
    void measure(const Pair& pair) const {
        std::vector<Figure> library, peer;
        for (int i = 0; i < repetitions_; ++i) {
            if (pair.before) pair.before();
            library.push_back(figure(pair.library, ""));
            peer.push_back(figure(pair.peer, pair.peer_input));
        }
        print(pair, bench::median(library), bench::median(peer));
    }

    void make_record(int ratios, int samples) const {
        fs::remove(kDatabase);
        bench::run(command({"fill", std::to_string(ratios), std::to_string(samples)}));
    }

  private:
    Figure median_of(const Command& what) const {
        std::vector<Figure> figures;
        for (int i = 0; i < 5; ++i) figures.push_back(bench::run(what));
        return bench::median(figures);
    }

    /// What a command takes beyond a program that does nothing. A work of ours tells its seconds.
    Figure figure(const Command& what, const std::string& input) const {
        const bool ours = what[0] == work_;
        Figure found = bench::run(what, input, kOutput);
        found.mib -= (ours ? idle_ : idle_peer_).mib;
        if (ours)
            std::ifstream(kOutput) >> found.seconds;
        else
            found.seconds -= idle_peer_.seconds;
        return found;
    }

    static void print(const Pair& pair, const Figure& library, const Figure& peer) {
        const double ratio = library.seconds / peer.seconds;
        const double data = pair.samples * kBytesOfASample / 1048576;
        fmt::print(
            "| {} | {} | {:.1f} ms | {:.1f} ms | {:.2f} | {} | {:.1f} MiB | {:.1f} MiB | {} |\n",
            pair.name, pair.samples, library.seconds * 1000, peer.seconds * 1000, ratio,
            pair.at_most > 0 ? fmt::format("{:.2f}", pair.at_most) : "", library.mib, peer.mib,
            pair.samples > 0 ? fmt::format("{:.2f}", library.mib / data) : "");
        std::fflush(stdout);
    }

    std::string work_;
    int repetitions_;
    Figure idle_, idle_peer_;
};

void measure_import_and_query(const Bench& bench, int samples) {
    bench::run(bench.command({"lines", kLines, std::to_string(samples)}));
    const std::string table =
        "CREATE TABLE RUNTIME_REPORT(percentage INTEGER, time_slap TEXT, result INTEGER, "
        "write_amount TEXT, f_record_no INTEGER);";
    bench.measure({"import",
                   samples,
                   bench.command({"import", kLines}),
                   {"sqlite3", kPeerDatabase, table, ".mode csv",
                    std::string(".import ") + kLines + " RUNTIME_REPORT"},
                   "",
                   0.8,
                   [&] {
                       bench.make_record(0, 0);
                       fs::remove(kPeerDatabase);
                   }});
    bench.measure({"query",
                   samples,
                   bench.command({"query"}),
                   bench.command({"query-bare", kDatabase}),
                   "",
                   1.5,
                   {}});
    fs::remove(kPeerDatabase);
    fs::remove(kLines);
}

void measure_csv(const Bench& bench, int ratios, int samples) {
    bench.make_record(ratios, samples / ratios);
    std::ofstream statements(kStatements);
    for (int ratio = 1; ratio <= ratios; ++ratio)
        statements << "SELECT percentage, time_slap, result, write_amount FROM RUNTIME_REPORT "
                      "WHERE f_record_no=1 AND percentage="
                   << ratio << " AND rowid%1=0;\n";
    statements.close();
    bench.measure(
        {fmt::format("CSV, {}", ratios == 1 ? "one ratio" : fmt::format("{} ratios", ratios)),
         samples,
         bench.command({"csv"}),
         {"sqlite3", "-csv", kDatabase},
         kStatements,
         1.2,
         {}});
}

/// The workbook of the record that is there.
void measure_xlsx(const Bench& bench, int samples) {
    const std::string ratios = std::to_string(kRatios);
    const std::string each = std::to_string(samples / kRatios);
    const auto peer = [&](const char* how) {
        return bench.command({how, kOutput + std::string(".xlsx"), ratios, each});
    };
    bench.measure({"workbook, peer row by row",
                   samples,
                   bench.command({"xlsx"}),
                   peer("xlsx-bare"),
                   "",
                   0,
                   {}});
    bench.measure(
        {"workbook", samples, bench.command({"xlsx"}), peer("xlsx-bare-all"), "", 1.15, {}});
}

/// The web page of the record that is there, by the command line; its peer reads the same samples.
void measure_page(const Bench& bench, int samples) {
    bench.measure({"web page",
                   samples,
                   {"ssd-op", "report", "1", "--output", "/root/page.html", "--force"},
                   {"sqlite3", "-csv", kDatabase},
                   kStatements,
                   0,
                   {}});
}

void measure_poll(const Bench& bench) {
    const std::string times = std::to_string(kPolls);
    bench.make_record(0, 0);
    bench.measure({fmt::format("{} status polls", kPolls),
                   0,
                   bench.command({"poll", times}),
                   bench.command({"poll-bare", kDatabase, times}),
                   "",
                   1.3,
                   {}});
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc < 4) {
        fmt::print(stderr, "usage: bench-table BENCH_WORK REPETITIONS SAMPLES...; see bench/run\n");
        return 2;
    }
    const Bench bench(argv[1], std::atoi(argv[2]));
    fmt::print(
        "| work | samples | library | peer | ratio | at most | memory | peer's | of the data |\n"
        "|---|--:|--:|--:|--:|--:|--:|--:|--:|\n");
    measure_poll(bench);
    bench.make_record(kRatios, kUsualSamples / kRatios);
    measure_xlsx(bench, kUsualSamples);
    for (int i = 3; i < argc; ++i) {
        const int samples = std::atoi(argv[i]);
        measure_import_and_query(bench, samples);
        measure_csv(bench, 1, samples);
        measure_csv(bench, kRatios, samples);
        measure_page(bench, samples);
        measure_xlsx(bench, samples);
    }
    return 0;
} catch (const std::exception& error) {
    fmt::print(stderr, "bench-table: {}\n", error.what());
    return 1;
}
