// Measuring in rounds with Google Benchmark, and the rows of the table.
// SPDX-License-Identifier: Apache-2.0
#include "Bench.h"

#include <fcntl.h>
#include <malloc.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <thread>

namespace orbo::Benchmarks {

namespace {

// Keeps the seconds of a single run.
class Stopwatch : public benchmark::BenchmarkReporter {
  public:
    explicit Stopwatch(Clock clock) : fClock(clock) {}
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        const Run& run = runs.front();
        const double all =
            fClock == Clock::kWall ? run.real_accumulated_time : run.cpu_accumulated_time;
        fSeconds = all / static_cast<double>(run.iterations);
    }
    [[nodiscard]] double seconds() const { return fSeconds; }

  private:
    Clock fClock;
    double fSeconds = 0;
};

std::string formatted(const char* format, double value, const char* unit) {
    char text[64];
    std::snprintf(text, sizeof text, format, value, unit);
    return text;
}

}  // namespace

void tidyHeap() {
    constexpr std::size_t kLarge = 64 * 1024;  // too large for the lists of small blocks
    void* block = std::malloc(kLarge);
    benchmark::DoNotOptimize(block);
    std::free(block);
}

void coolDown() {
    constexpr std::size_t kLine = 64;
#ifdef __x86_64__
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t first = 0;
        std::uintptr_t last = 0;
        char rights[5] = "";
        if (std::sscanf(line.c_str(), "%zx-%zx %4s", &first, &last, rights) != 3) continue;
        if (std::strcmp(rights, "rw-p") != 0) continue;
        for (; first < last; first += kLine)
            __builtin_ia32_clflush(reinterpret_cast<const void*>(first));
    }
    __builtin_ia32_mfence();
#else
    constexpr std::size_t kLargerThanCaches = 1024 * kMiB;
    static std::vector<char> other(kLargerThanCaches);
    for (std::size_t i = 0; i < other.size(); i += kLine) ++other[i];
#endif
}

void dropFromMemory(const std::string& file) {
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    const bool done = descriptor >= 0 && ::fsync(descriptor) == 0 &&
                      ::posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED) == 0;
    require(done, file + " can be dropped from memory");
    ::close(descriptor);
}

Bench::Bench(unsigned rounds, double parts, Clock clock)
    : fRounds(rounds), fParts(parts), fClock(clock) {
    // Counting references takes longer in a process that has ever had a second thread.
    if (std::getenv("BENCH_THREADED")) std::thread([] {}).join();
}

void Bench::add(const std::string& name, const std::function<void(benchmark::State&)>& work) {
    // A number that names no other; what stands behind it says how often it runs.
    static int registered = 0;
    const std::string id = "b" + std::to_string(registered++);
    benchmark::RegisterBenchmark(id.c_str(), work)->Iterations(fTimes);
    sample(name, [this, id] {
        Stopwatch stopwatch(fClock);
        require(benchmark::RunSpecifiedBenchmarks(&stopwatch, "^" + id + "/") == 1, id);
        return stopwatch.seconds() * 1e9;
    });
}

void Bench::sample(const std::string& name, std::function<double()> nanoseconds) {
    require(fContestants.emplace(name, std::move(nanoseconds)).second, name + " is there once");
}

void Bench::run() {
    std::vector<std::string> names;
    for (const auto& [name, work] : fContestants) names.push_back(name);
    std::mt19937 random(1);
    for (unsigned round = 0; round <= fRounds; ++round) {
        std::shuffle(names.begin(), names.end(), random);
        for (const std::string& name : names) {
            const double nanoseconds = fContestants.at(name)();
            if (round > 0) fSamples[name].push_back(nanoseconds);
        }
    }
}

double Bench::compare(const std::string& subject, const std::string& ours, const std::string& other,
                      double allowed) {
    const Samples& mine = fSamples.at(ours);
    const Samples& theirs = fSamples.at(other);
    Samples ratios;
    for (std::size_t i = 0; i < mine.size(); ++i) ratios.push_back(mine[i] / theirs[i]);
    const double ratio = median(ratios);
    row(subject, time(median(mine)), other, time(median(theirs)), ratio, allowed);
    return ratio;
}

void Bench::atMost(const std::string& subject, const std::string& ours, double nanoseconds) {
    const double mine = median(fSamples.at(ours));
    row(subject, time(mine), "a fixed time", time(nanoseconds * fParts),
        mine / fParts / nanoseconds, 1);
}

void Bench::count(const std::string& subject, double ours, const std::string& otherName,
                  double other, double allowed, const std::string& unit) {
    const auto text = [&](double value) { return formatted("%.5g %s", value, unit.c_str()); };
    row(subject, text(ours), otherName, text(other), ours / other, allowed);
}

std::string Bench::time(double nanoseconds) const {
    const double one = nanoseconds / fParts;
    if (one < 1e4) return formatted("%.1f %s", one, "ns");
    if (one < 1e6) return formatted("%.1f %s", one / 1e3, "us");
    return formatted("%.2f %s", one / 1e6, "ms");
}

void Bench::row(const std::string& subject, const std::string& ours, const std::string& otherName,
                const std::string& other, double ratio, double allowed) {
    const bool held = ratio <= allowed;
    const bool judged = allowed > 0;
    if (judged) fAllHeld = fAllHeld && held;
    std::printf("%s\t%s\t%s\t%s\t%.2f\t%s\t%s\n", subject.c_str(), ours.c_str(), otherName.c_str(),
                other.c_str(), ratio, judged ? formatted("%.2f", allowed, "").c_str() : "-",
                judged ? (held ? "held" : "NOT HELD") : "-");
    std::fflush(stdout);
}

void require(bool condition, const std::string& what) {
    if (condition) return;
    std::fprintf(stderr, "Not as it should be: %s\n", what.c_str());
    std::exit(2);
}

double median(std::vector<double> values) {
    require(!values.empty(), "something was measured");
    std::sort(values.begin(), values.end());
    return (values[(values.size() - 1) / 2] + values[values.size() / 2]) / 2;
}

double apart(const std::function<double()>& work) {
    int ends[2];
    require(::pipe(ends) == 0, "pipe");
    const pid_t child = ::fork();
    if (child == 0) {
        const double result = work();
        ::_exit(::write(ends[1], &result, sizeof result) == sizeof result ? 0 : 2);
    }
    ::close(ends[1]);
    double result = 0;
    int status = 0;
    const bool got = ::read(ends[0], &result, sizeof result) == sizeof result;
    ::close(ends[0]);
    require(::waitpid(child, &status, 0) == child && status == 0 && got, "a process of its own");
    return result;
}

namespace {

Usage usageOfChild(const std::string& name, pid_t child,
                   std::chrono::steady_clock::time_point start) {
    int status = 0;
    rusage used{};
    const bool ended = ::wait4(child, &status, 0, &used) == child;
    const std::chrono::duration<double, std::nano> wall = std::chrono::steady_clock::now() - start;
    require(ended && WIFEXITED(status) && WEXITSTATUS(status) <= 1, name + " ends well");
    const auto nanoseconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_usec) * 1e3;
    };
    constexpr double kKiB = 1024;
    return {wall.count(), nanoseconds(used.ru_utime) + nanoseconds(used.ru_stime),
            static_cast<double>(used.ru_maxrss) * kKiB};
}

}  // namespace

Usage usageOf(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t quiet;
    ::posix_spawn_file_actions_init(&quiet);
    ::posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    require(::posix_spawnp(&child, arguments[0], &quiet, nullptr, arguments.data(), environ) == 0,
            words[0]);
    ::posix_spawn_file_actions_destroy(&quiet);
    std::string command;
    for (const std::string& word : words) command += command.empty() ? word : ' ' + word;
    return usageOfChild(command, child, start);
}

Usage usageOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::_exit(0);
    }
    return usageOfChild("a process of its own", child, start);
}

double instructionsOf(const std::vector<std::string>& words) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> log(std::tmpfile(), std::fclose);
    require(log != nullptr, "a temporary file");
    std::vector<std::string> counted = {"valgrind", "--tool=callgrind",
                                        "--log-fd=" + std::to_string(::fileno(log.get())),
                                        "--callgrind-out-file=/dev/null"};
    counted.insert(counted.end(), words.begin(), words.end());
    usageOf(counted);
    std::rewind(log.get());
    double count = 0;
    for (char line[256]; count == 0 && std::fgets(line, sizeof line, log.get());) {
        if (const char* const total = std::strstr(line, "Collected :"))
            count = std::atof(total + std::strlen("Collected :"));
    }
    require(count > 0, "valgrind counts instructions");
    return count;
}

double heapBytes() {
    const auto heap = ::mallinfo2();
    return static_cast<double>(heap.uordblks + heap.hblkhd);
}

double processNumber(const std::string& file, const std::string& field) {
    std::ifstream in("/proc/self/" + file);
    for (std::string word; in >> word;) {
        double value = 0;
        if (word == field + ":" && in >> value) return value;
    }
    require(false, "/proc/self/" + file + " has " + field);
    return 0;
}

}  // namespace orbo::Benchmarks
