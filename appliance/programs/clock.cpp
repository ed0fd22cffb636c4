/// Keeps the appliance's clock: the first process of the sandbox becomes this program once the
/// inside is prepared. It says that the appliance is ready, and stays.
/// usage: appliance-clock RATE FILE
///
/// FILE always names a second that the clock has not reached yet. A sandbox that is killed, or goes
/// down with the host, has no chance to save its time; the next one starts from there.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>
#include <thread>

#include <semaphore.h>

namespace {

/// libfaketime has every process take a semaphore for a moment while it starts. A process that is
/// killed in that moment would keep it, and no program could start any more. What it guards, the
/// clock's start, was written by the sandbox's first process and is only read from then on, so
/// there is room for all readers, and for as many that die.
/// `shared` is "SEMAPHORE MEMORY".
bool make_room_for_readers(const std::string& shared) {
    constexpr int kRoom = 1'000'000;
    sem_t* semaphore = ::sem_open(shared.substr(0, shared.find(' ')).c_str(), 0);
    if (semaphore == SEM_FAILED) return false;
    for (int reader = 0; reader < kRoom; ++reader) ::sem_post(semaphore);
    return ::sem_close(semaphore) == 0;
}

bool save(std::time_t second, const std::string& file) {
    const std::string unfinished = file + ".new";
    std::ofstream(unfinished) << second << '\n';
    return std::rename(unfinished.c_str(), file.c_str()) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: appliance-clock RATE FILE\n", stderr);
        return 2;
    }
    const int rate = std::atoi(argv[1]);
    const std::string file = argv[2];
    const char* shared = std::getenv("FAKETIME_SHARED");
    if (shared != nullptr && !make_room_for_readers(shared)) {
        std::perror("appliance-clock: the clock's semaphore");
        return 1;
    }
    // Whoever powers the appliance on waits for this line, makes a note of the sandbox, and
    // answers.
    std::printf("ready %s\n", shared == nullptr ? "" : shared);
    std::fflush(stdout);
    if (std::getchar() == EOF) return 1;
    constexpr std::time_t kWallSecondsAhead = 10;
    while (save(std::time(nullptr) + kWallSecondsAhead * rate, file)) {
        std::this_thread::sleep_for(std::chrono::seconds(rate));
    }
    std::perror("appliance-clock: saving the clock");
    return 1;
}
