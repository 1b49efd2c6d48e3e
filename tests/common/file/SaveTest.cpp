// Replacing a file: every name the system allows, the reasons of failures,
// a folder that takes no new file, a full disk, and saves killed part-way,
// which leave either the old or the new text and nothing else.
#include "common/src/ka.common.xml.io.h"

#include <gtest/gtest.h>

#include <dirent.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using quorl::replaceFile;
using quorl::SaveMethod;

namespace {

class TempDir {
public:
    TempDir() {
        char name[] = "/tmp/rq7-save-XXXXXX";
        path = ::mkdtemp(name);
    }
    ~TempDir() { std::system(("chmod -R u+w '" + path + "' 2>/dev/null; rm -rf '" + path + "'").c_str()); }
    std::string file(const std::string& name) const { return path + "/" + name; }
    // The names in the folder, in no particular order.
    std::vector<std::string> entries() const {
        std::vector<std::string> out;
        if (DIR* d = ::opendir(path.c_str())) {
            while (dirent* e = ::readdir(d))
                if (std::string(e->d_name) != "." && std::string(e->d_name) != "..") out.push_back(e->d_name);
            ::closedir(d);
        }
        return out;
    }
    std::string path;
};

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream os;
    os << in.rdbuf();
    return os.str();
}

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

std::function<bool(std::ostream&)> writing(const std::string& text) {
    return [text](std::ostream& os) {
        os << text;
        return true;
    };
}

const SaveMethod METHODS[] = {SaveMethod::Automatic, SaveMethod::NamedTemporary};

// Runs f in a child process and returns its exit status (f's result), or
// -1 when the child did not end normally.
int inChild(const std::function<int()>& f) {
    const pid_t pid = ::fork();
    if (pid == 0) ::_exit(f());
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(ReplaceFile, EveryNameTheSystemAllowsSaves) {
    for (SaveMethod method : METHODS) {
        for (size_t length : {248u, 255u}) {
            TempDir dir;
            const std::string path = dir.file(std::string(length, 'n'));
            writeFile(path, "old");
            ASSERT_EQ(replaceFile(path, writing("new text"), method), 0) << length;
            EXPECT_EQ(readFile(path), "new text") << length;
            EXPECT_EQ(dir.entries().size(), 1u) << length;
        }
    }
}

TEST(ReplaceFile, FailuresGiveTheirReasonAndKeepTheOriginal) {
    struct Row {
        const char* what;
        std::string name;  // relative to the folder
        bool writerFails;
        int error;
    };
    const std::vector<Row> rows = {
        {"missing folder", "missing/keep.xml", false, ENOENT},
        {"a folder in place of the file", "sub", false, EISDIR},
        {"the writer gives up", "keep.xml", true, EINVAL},
        // A writer that gives up is reported ahead of what is wrong with the path.
        {"the writer gives up, missing folder", "missing/keep.xml", true, EINVAL},
        {"the writer gives up, a folder in place of the file", "sub", true, EINVAL},
        {"a name too long", std::string(256, 'n'), false, ENAMETOOLONG},
    };
    for (SaveMethod method : METHODS) {
        for (const auto& r : rows) {
            TempDir dir;
            writeFile(dir.file("keep.xml"), "original");
            ::mkdir(dir.file("sub").c_str(), 0755);
            const int error = replaceFile(
                dir.file(r.name),
                [&](std::ostream& os) {
                    // Past the output buffer, so that part of the text is on disk when it gives up.
                    for (int i = 0; i < 20000; ++i) os << "<QUORL>";
                    return !r.writerFails;
                },
                method);
            EXPECT_EQ(error, r.error) << r.what << ": " << std::strerror(error);
            EXPECT_EQ(readFile(dir.file("keep.xml")), "original") << r.what;
            EXPECT_EQ(dir.entries().size(), 2u) << r.what << ": a temporary was left";
            errno = 0;
            EXPECT_FALSE(quorl::replaceFileSafely(dir.file(r.name), std::ios::out,
                                                  [&](std::ostream& os) { return !r.writerFails; }));
            EXPECT_EQ(errno, r.error) << r.what;
        }
    }
}

// The text reaches the file in pieces of every size, byte for byte.
TEST(ReplaceFile, LongTextsArriveWhole) {
    std::string expected;
    const auto write = [&](std::ostream& os) {
        expected.clear();
        for (size_t piece : {1u, 7u, 65535u, 1u, 200000u, 3u, 65536u, 131073u}) {
            const std::string text(piece, static_cast<char>('a' + piece % 26));
            if (piece % 2)
                os << text;
            else
                for (char c : text) os.put(c);
            expected += text;
        }
        return true;
    };
    for (SaveMethod method : METHODS) {
        TempDir dir;
        ASSERT_EQ(replaceFile(dir.file("board.xml"), write, method), 0);
        EXPECT_EQ(readFile(dir.file("board.xml")), expected);
    }
}

// A folder that takes no new file (here: no write permission for the user)
// while the file itself is writable: the file is rewritten in place.
TEST(ReplaceFile, ReadOnlyFolderWithWritableFileSavesInPlace) {
    for (SaveMethod method : METHODS) {
        TempDir dir;
        const std::string folder = dir.file("ro");
        ::mkdir(folder.c_str(), 0755);
        const std::string path = folder + "/board.xml";
        writeFile(path, std::string(5000, 'o'));  // longer than the new text: the rest is cut
        ::chmod(dir.path.c_str(), 0755);
        ::chmod(path.c_str(), 0666);
        ::chmod(folder.c_str(), 0555);
        const int status = inChild([&] {
            // Root writes anywhere: drop to an ordinary user first.
            if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) return 100;
            return replaceFile(path, writing("new text"), method);
        });
        EXPECT_EQ(status, 0) << std::strerror(status);
        EXPECT_EQ(readFile(path), "new text");
        EXPECT_EQ(dir.entries().size(), 1u);
        ::chmod(folder.c_str(), 0755);
    }
}

// A full disk: a small file system of its own in a private mount namespace.
TEST(ReplaceFile, FullDiskKeepsTheOriginal) {
    TempDir dir;
    const std::string path = dir.file("board.xml");
    const int status = inChild([&] {
        if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("rq7", dir.path.c_str(), "tmpfs", 0, "size=64k") != 0)
            return 200;
        writeFile(path, "original");
        for (SaveMethod method : METHODS) {
            const int error = replaceFile(path, writing(std::string(1 << 20, 'x')), method);
            if (error != ENOSPC) return error ? error : 201;
            if (readFile(path) != "original") return 202;
            if (dir.entries().size() != 1) return 203;
        }
        return 0;
    });
    if (status == 200) GTEST_SKIP() << "no private mount namespace here";
    EXPECT_EQ(status, 0) << (status < 200 ? std::strerror(status) : "see the code");
}

// Saves killed at random moments by SIGTERM or SIGINT: the process dies of
// the signal, and the folder holds the file alone, with one of the two texts.
TEST(ReplaceFile, KilledSaveLeavesOldOrNewTextAndNoTemporary) {
    const std::string a(3 << 20, 'a'), b(2 << 20, 'b');
    std::mt19937 random(7);
    for (SaveMethod method : METHODS) {
        TempDir dir;
        const std::string path = dir.file("board.xml");
        writeFile(path, a);
        for (int kill = 0; kill < 20; ++kill) {
            const int sig = kill % 2 ? SIGINT : SIGTERM;
            const pid_t pid = ::fork();
            if (pid == 0) {
                for (unsigned i = 0;; ++i) replaceFile(path, writing(i % 2 ? a : b), method);
            }
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 40000));
            ::kill(pid, sig);
            int status = 0;
            ::waitpid(pid, &status, 0);
            EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == sig) << "kill " << kill;
            const std::vector<std::string> entries = dir.entries();
            ASSERT_EQ(entries.size(), 1u) << "kill " << kill << ": " << entries.back();
            const std::string text = readFile(path);
            ASSERT_TRUE(text == a || text == b) << "kill " << kill << ": " << text.size() << " bytes";
        }
    }
}

}  // namespace
