// What the benchmarks share: measuring in rounds, the rows of the table, elements and scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <benchmark/benchmark.h>
#include <data/Accessor.h>
#include <data/Stream.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace orbo::Benchmarks {

/// The time of the thread leaves out what else the machine does; waiting for disks, processes and
/// threads takes a clock on the wall.
enum class Clock { kThread, kWall };

/// Makes the allocator merge what was freed, which it would otherwise do at somebody's next large
/// request: nobody pays for what another left behind.
void tidyHeap();
/// Drops what this process may write from the processor's caches: of it, all is read from memory.
void coolDown();
/// Drops the file from the system's memory, so that it is read from the disk.
void dropFromMemory(const std::string& file);

/// Measures all contestants once in each round, in shuffled order, and prints a row for each
/// figure. Ratios are the medians of those in each round.
class Bench {
  public:
    /// Times are shown for one of the `parts` that a contestant works on.
    explicit Bench(unsigned rounds, double parts = 1, Clock clock = Clock::kThread);

    /// How often what is added from now on runs in each round, for what takes too little time.
    void setTimes(int times) { fTimes = times; }
    /// What `work` returns dies unmeasured.
    template <typename Work>
    void measure(const std::string& name, Work work) {
        add(name, [work](benchmark::State& state) {
            for (auto _ : state) run(state, work);
        });
    }
    /// Behind `prepare`, which is not measured.
    template <typename Work>
    void measureBehind(const std::string& name, const std::function<void()>& prepare, Work work) {
        add(name, [prepare, work](benchmark::State& state) {
            for (auto _ : state) {
                state.PauseTiming();
                prepare();
                state.ResumeTiming();
                run(state, work);
            }
        });
    }
    /// From cold caches.
    template <typename Work>
    void measureCold(const std::string& name, Work work) {
        measureBehind(name, coolDown, work);
    }
    /// Once in each round `nanoseconds` says what was measured.
    void sample(const std::string& name, std::function<double()> nanoseconds);
    /// A first round warms up and does not count.
    void run();

    /// A row with the times of two contestants; not judged when nothing is allowed. Returns the
    /// ratio.
    double compare(const std::string& subject, const std::string& ours, const std::string& other,
                   double allowed = 0);
    void atMost(const std::string& subject, const std::string& ours, double nanoseconds);
    /// A row of what was counted instead of timed.
    void count(const std::string& subject, double ours, const std::string& otherName, double other,
               double allowed, const std::string& unit);
    /// The exit status: 1 when a figure is not held.
    [[nodiscard]] int result() const { return fAllHeld ? 0 : 1; }

  private:
    using Samples = std::vector<double>;

    template <typename Work>
    static void run(benchmark::State& state, const Work& work) {
        using Result = std::invoke_result_t<Work>;
        if constexpr (std::is_void_v<Result>) {
            work();
        } else {
            std::unique_ptr<Result> result(new Result(work()));
            benchmark::DoNotOptimize(result.get());
            state.PauseTiming();
            result.reset();
            tidyHeap();
            state.ResumeTiming();
        }
    }
    void add(const std::string& name, const std::function<void(benchmark::State&)>& work);
    [[nodiscard]] std::string time(double nanoseconds) const;
    void row(const std::string& subject, const std::string& ours, const std::string& otherName,
             const std::string& other, double ratio, double allowed);

    unsigned fRounds;
    double fParts;
    Clock fClock;
    int fTimes = 1;
    std::map<std::string, std::function<double()>> fContestants;
    std::map<std::string, Samples> fSamples;  // nanoseconds
    bool fAllHeld = true;
};

/// Ends the program when what is measured does not do its work.
void require(bool condition, const std::string& what);
double median(std::vector<double> values);
/// What `work` says in a process of its own.
double apart(const std::function<double()>& work);
/// What a program took from its start to its end.
struct Usage {
    double wall;  ///< nanoseconds by the clock
    double cpu;   ///< nanoseconds of all its threads, in the kernel as well
    double peak;  ///< bytes of resident memory
};
/// Runs a program, whose standard output is thrown away. Exit codes up to 1 are as they should be.
Usage usageOf(const std::vector<std::string>& words);
/// The same for `work` in a process of its own.
Usage usageOf(const std::function<void()>& work);
/// The instructions of a program, as valgrind counts them: the same each time. Options of callgrind
/// may stand in front of it.
double instructionsOf(const std::vector<std::string>& words);
/// Bytes in use, the allocator's own included.
double heapBytes();
/// The number behind `field` in a file below /proc/self.
double processNumber(const std::string& file, const std::string& field);

/// The element of which texts are made.
struct Element {
    std::int32_t id;
    float position[3];
    std::string name;
};
using Elements = std::map<std::uint32_t, std::unique_ptr<Element>>;
constexpr unsigned kElements = 100'000;

void append(Elements& elements, std::uint32_t index, Element&& element);
Elements makeElements(unsigned count);
/// Its structure is registered.
Data::Stream makeStream(const Elements& elements);
/// Elements of twelve floats at the numbers.
using Numbers = std::vector<std::uint32_t>;
Data::Stream makeRecords(const Numbers& numbers);
std::string textOf(const Data::Stream& stream);
/// Registered; with one member, "values".
RefPtr<Data::Structure> makeStructure(const char* name, Data::Member::eDataType type,
                                      unsigned length);

/// A contestant that other libraries enter.
struct Peer {
    std::string name;
    bool mustBeBeaten;
    std::function<Elements()> read;
    std::function<std::size_t()> write;  // may be absent
};
std::vector<Peer> makePeers(const Elements& elements, const std::string& text);

/// A folder for scenes, removed with all that is in it.
class Folder {
  public:
    Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder();
    [[nodiscard]] std::string file(const std::string& name) const { return fPath + "/" + name; }

  private:
    std::string fPath;
};

constexpr std::uint64_t kMiB = 1024 * 1024;
/// Writes a scene of `length` bytes, a hole, without metadata. The extension tells the kind.
void makeEmptyScene(const std::string& file, std::uint64_t length);
/// Reads that scene, and puts the stream at each of the nodes.
std::unique_ptr<Data::Accessor> makeModel(const std::string& file, const Data::Stream& stream,
                                          const std::vector<std::string>& nodes = {"node"});
/// Makes such a scene and writes such a model. Returns the bytes of the metadata.
std::uint64_t makeScene(const std::string& file, std::uint64_t length, const Data::Stream& stream,
                        const std::vector<std::string>& nodes = {"node"});
/// Reads the scene, or its named nodes only.
std::unique_ptr<Data::Accessor> readScene(const std::string& file,
                                          const std::set<std::string>* nodes = nullptr);

}  // namespace orbo::Benchmarks
