// The body of a Content-Length answer: a large one moves to the spool file
// and reads back byte for byte; where the file cannot be written, or stops
// taking bytes, nothing of the body is lost.
#include "BufferedAnswerBody.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <string>
#include <sys/resource.h>

using namespace cimhost;

namespace
{

size_t entries(const std::string& dir)
{
    size_t n = 0;
    if (DIR* d = ::opendir(dir.c_str()))
    {
        while (dirent* e = ::readdir(d))
            if (std::string(e->d_name) != "." && std::string(e->d_name) != "..")
                n++;
        ::closedir(d);
    }
    return n;
}

size_t openFiles()
{
    return entries("/proc/self/fd");
}

// Produces `bytes` bytes of varied text through the sink the way the
// writer does, object by object with progress() between them.
std::string produce(BufferedAnswerBody& body, size_t bytes)
{
    std::string all;
    std::string text;
    unsigned seed = 7;
    while (all.size() < bytes)
    {
        size_t n = 100 + (seed = seed * 1103515245u + 12345u) % 5000;
        std::string object(n, char('a' + seed % 26));
        object += std::to_string(all.size());
        all += object;
        text += object;
        body.progress(text);
    }
    body.finish(text, 0, Pegasus::String());
    return all;
}

std::string readBack(BufferedAnswerBody& body, size_t max)
{
    std::string out;
    while (out.size() < body.size())
    {
        const char* data = nullptr;
        size_t n = body.read(out.size(), data, max);
        if (n == 0)
            break;
        EXPECT_LE(n, max);
        out.append(data, n);
    }
    return out;
}

class BufferedAnswerBodyTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        char name[] = "/tmp/cimhost-spool-XXXXXX";
        dir = ::mkdtemp(name);
    }
    void TearDown() override { std::system(("rm -rf " + dir).c_str()); }

    std::string dir;
};

TEST_F(BufferedAnswerBodyTest, ALargeBodyMovesToAnUnnamedFileAndReadsBackWhole)
{
    size_t filesBefore = openFiles();
    {
        BufferedAnswerBody body(dir, BufferedAnswerBody::BLOCK_BYTES);
        std::string sent = produce(body, 3 * 1024 * 1024);
        EXPECT_EQ(sent.size(), body.size());
        EXPECT_EQ(sent.size(), body.spooled());
        EXPECT_EQ("", body.spoolFailure());
        EXPECT_EQ(0u, entries(dir));
        EXPECT_EQ(filesBefore + 1, openFiles());
        EXPECT_EQ(sent, readBack(body, 70001));
        EXPECT_EQ(sent, readBack(body, size_t(-1)));
        body.discard();
        EXPECT_EQ(0u, body.size());
        EXPECT_EQ(filesBefore, openFiles());

        // Used again after a discard, as for the next answer.
        sent = produce(body, 2 * 1024 * 1024);
        EXPECT_EQ(sent, body.take());
    }
    EXPECT_EQ(filesBefore, openFiles());

    // Under the allowance nothing is written.
    BufferedAnswerBody small(dir);
    std::string sent = produce(small, 600 * 1024);
    EXPECT_EQ(0u, small.spooled());
    EXPECT_EQ(filesBefore, openFiles());
    EXPECT_EQ(sent, readBack(small, 4096));
}

TEST_F(BufferedAnswerBodyTest, ABodyThatCannotBeWrittenStaysWholeInMemory)
{
    BufferedAnswerBody nowhere(dir + "/missing", BufferedAnswerBody::BLOCK_BYTES);
    std::string sent = produce(nowhere, 2 * 1024 * 1024);
    EXPECT_EQ(0u, nowhere.spooled());
    EXPECT_EQ("No such file or directory", nowhere.spoolFailure());
    EXPECT_EQ(sent, readBack(nowhere, 100000));

    // The file stops taking bytes part way: what it took is read from it,
    // the rest from memory.
    rlimit old;
    ASSERT_EQ(0, ::getrlimit(RLIMIT_FSIZE, &old));
    rlimit small = old;
    small.rlim_cur = 900 * 1024;
    void (*oldHandler)(int) = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(0, ::setrlimit(RLIMIT_FSIZE, &small));
    BufferedAnswerBody full(dir, BufferedAnswerBody::BLOCK_BYTES);
    sent = produce(full, 3 * 1024 * 1024);
    ::setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_GT(full.spooled(), 0u);
    EXPECT_LT(full.spooled(), sent.size());
    EXPECT_EQ("File too large", full.spoolFailure());
    EXPECT_EQ(sent.size(), full.size());
    EXPECT_EQ(sent, readBack(full, 123457));
    EXPECT_EQ(sent, full.take());
}

} // namespace
