// The password file: salted hashes, verification, and the file itself.
#include "PasswordFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

using cimhost::PasswordFile;

namespace
{

std::string tempPath(const char* name)
{
    char dir[] = "/tmp/cimhost-pw-XXXXXX";
    return std::string(::mkdtemp(dir)) + "/" + name;
}

std::string read(const std::string& path)
{
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

TEST(PasswordFile, StoresSaltedHashesNotPasswords)
{
    std::string path = tempPath("passwd");
    PasswordFile file(path);
    file.setPassword("alice", "secret");
    file.setPassword("bob", "secret");
    std::string text = read(path);
    EXPECT_EQ(std::string::npos, text.find("secret"));
    EXPECT_EQ(0u, text.find("alice:$"));
    // Same password, different salt.
    std::string a = text.substr(6, text.find('\n') - 6);
    std::string b = text.substr(text.find("bob:") + 4);
    b = b.substr(0, b.find('\n'));
    EXPECT_NE(a, b);
    struct stat st;
    ASSERT_EQ(0, ::stat(path.c_str(), &st));
    EXPECT_EQ(0600u, st.st_mode & 0777u);
}

TEST(PasswordFile, VerifiesOnlyTheRightPasswordOfAKnownUser)
{
    std::string path = tempPath("passwd");
    PasswordFile writer(path);
    writer.setPassword("alice", "secret");
    PasswordFile file(path);
    EXPECT_FALSE(file.recentlyVerified("alice", "secret"));
    EXPECT_TRUE(file.verify("alice", "secret"));
    EXPECT_TRUE(file.recentlyVerified("alice", "secret"));
    EXPECT_TRUE(file.verify("alice", "secret"));  // cached
    EXPECT_FALSE(file.verify("alice", "Secret"));
    EXPECT_FALSE(file.recentlyVerified("alice", "Secret"));
    EXPECT_FALSE(file.verify("alice", ""));
    EXPECT_FALSE(file.verify("mallory", "secret"));
    EXPECT_FALSE(file.verify("", ""));
}

TEST(PasswordFile, ChangesOnDiskTakeEffectWithoutRestart)
{
    std::string path = tempPath("passwd");
    PasswordFile server(path);
    EXPECT_FALSE(server.verify("alice", "one"));
    PasswordFile tool(path);
    tool.setPassword("alice", "one");
    EXPECT_TRUE(server.verify("alice", "one"));
    tool.setPassword("alice", "two");
    EXPECT_FALSE(server.recentlyVerified("alice", "one"));
    EXPECT_FALSE(server.verify("alice", "one"));
    EXPECT_TRUE(server.verify("alice", "two"));
    EXPECT_TRUE(tool.remove("alice"));
    EXPECT_FALSE(tool.remove("alice"));
    EXPECT_FALSE(server.verify("alice", "two"));
}

TEST(PasswordFile, RefusesUserNamesThatBreakTheFormat)
{
    EXPECT_FALSE(PasswordFile::validUserName(""));
    EXPECT_FALSE(PasswordFile::validUserName("a:b"));
    EXPECT_FALSE(PasswordFile::validUserName("a\nb"));
    EXPECT_FALSE(PasswordFile::validUserName("a\x1b[2Jb"));
    EXPECT_FALSE(PasswordFile::validUserName("a\x7f"));
    EXPECT_TRUE(PasswordFile::validUserName("storage.admin"));
    PasswordFile file(tempPath("passwd"));
    EXPECT_THROW(file.setPassword("a:b", "x"), std::runtime_error);
}

} // namespace
