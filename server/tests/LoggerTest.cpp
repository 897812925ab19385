// The server log turned over by size: every line whole in exactly one file,
// files within the limit, no more old files than kept.
#include "Logger.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

namespace fs = std::filesystem;

namespace {

TEST(Logger, TurnsOverBySizeKeepingWholeLinesAndBoundedFiles)
{
    const fs::path dir = fs::temp_directory_path() / ("cimhost_logger_" + std::to_string(::getpid()));
    for (unsigned keep : {50u, 2u})
    {
        SCOPED_TRACE("keep " + std::to_string(keep));
        fs::remove_all(dir);
        fs::create_directories(dir);
        const std::string path = (dir / "cimhost.log").string();
        std::ofstream(path) << "a line from before the start\n";
        {
            cimhost::Logger logger;
            logger.open(path, cimhost::LogLevel::Info, 1000, keep);
            std::vector<std::thread> writers;
            for (int t = 0; t < 4; t++)
                writers.emplace_back([&logger, t] {
                    for (int i = 0; i < 100; i++)
                        logger.info("writer " + std::to_string(t) + " line " + std::to_string(i));
                });
            for (std::thread& w : writers)
                w.join();
            logger.debug("below the level: never written");
        }
        EXPECT_FALSE(fs::exists(path + "." + std::to_string(keep + 1)));
        EXPECT_TRUE(fs::exists(path + ".2"));
        std::vector<std::string> lines;
        for (unsigned i = keep + 1; i-- > 0;)
        {
            const std::string f = i ? path + "." + std::to_string(i) : path;
            if (!fs::exists(f))
                continue;
            std::ifstream in(f);
            std::stringstream text;
            text << in.rdbuf();
            EXPECT_LE(text.str().size(), 1000u) << f;
            ASSERT_FALSE(text.str().empty()) << f;
            EXPECT_EQ('\n', text.str().back()) << f;
            for (std::string line; std::getline(text, line);)
                lines.push_back(line);
        }
        // Each writer's lines are there in order, without a gap; with room
        // for everything, every line is there.
        std::map<int, int> next;
        for (const std::string& line : lines)
        {
            int t = -1, i = -1;
            if (std::sscanf(line.c_str(), "%*4d-%*2d-%*2dT%*2d:%*2d:%*2dZ INFO writer %d line %d", &t, &i) != 2)
            {
                EXPECT_EQ("a line from before the start", line);
                continue;
            }
            if (next.count(t))
            {
                EXPECT_EQ(next[t], i) << line;
            }
            next[t] = i + 1;
        }
        EXPECT_FALSE(next.empty());
        if (keep == 50)
        {
            EXPECT_EQ(401u, lines.size());
            ASSERT_EQ(4u, next.size());
            for (const auto& n : next)
                EXPECT_EQ(100, n.second) << "writer " << n.first;
        }
    }
    fs::remove_all(dir);
}

} // namespace
