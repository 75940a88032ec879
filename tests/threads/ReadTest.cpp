// Several threads read and write scenes at once.
// SPDX-License-Identifier: Apache-2.0
#include <data/Accessor.h>
#include <data/Stream.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace orbo::Data {
namespace {

TEST(ReadingSideBySide, DoesNotMixUp) {
    const RefPtr<Structure> callers(Structure::create());
    ASSERT_TRUE(Structure::registerStructure(*callers));
    const auto registered = Structure::allStructures();
    const unsigned long long alive = Structure::objectsAlive();
    const unsigned long long streams = Stream::objectsAlive();

    const auto readAgainAndAgain = [](const char* name, std::size_t structures,
                                      std::size_t associations) {
        for (int i = 0; i < 40; ++i) {
            std::string errors;
            const auto scene = Accessor::readFile(METADATA_SCENES_DIR + std::string(name), errors);
            ASSERT_TRUE(scene) << errors;
            EXPECT_EQ(errors, "");
            EXPECT_EQ(scene->structures().size(), structures);
            EXPECT_EQ(scene->associations().size(), associations);
        }
    };
    std::vector<std::thread> threads;
    threads.emplace_back(readAgainAndAgain, "/teapot.kx", 5, 3);
    threads.emplace_back(readAgainAndAgain, "/bare.kx", 0, 0);
    threads.emplace_back(readAgainAndAgain, "/teapot.ky", 5, 3);
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(Structure::allStructures(), registered);
    EXPECT_EQ(Structure::objectsAlive(), alive);
    EXPECT_EQ(Stream::objectsAlive(), streams);
    Structure::deregisterStructure(*callers);
}

TEST(WritingSideBySide, ThreadsTakeTurnsAtOneAccessor) {
    const std::string name = testing::TempDir() + "metadata-turns.kx";
    std::filesystem::copy_file(METADATA_SCENES_DIR "/teapot.kx", name,
                               std::filesystem::copy_options::overwrite_existing);
    std::string errors;
    const auto scene = Accessor::readFile(name, errors);
    ASSERT_TRUE(scene) << errors;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread) {
        threads.emplace_back([&scene] {
            std::string messages;
            for (int i = 0; i < 4; ++i) EXPECT_TRUE(scene->write(messages)) << messages;
            EXPECT_EQ(scene->associations().size(), 3U);
        });
    }
    for (std::thread& thread : threads) thread.join();
    const auto written = Accessor::readFile(name, errors);
    ASSERT_TRUE(written) << errors;
    EXPECT_EQ(written->associations().size(), 3U);
    std::filesystem::remove(name);
}

}  // namespace
}  // namespace orbo::Data
