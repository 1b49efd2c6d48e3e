#pragma once
// Scratch folders and whole-file reads and writes for tests that work on
// copies of configuration files.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace rq7test {

// A fresh folder under the system's temporary folder, removed with the object.
class ScratchDir {
public:
    ScratchDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "rq7-run-XXXXXX").string();
        if (!::mkdtemp(&pattern[0])) throw std::runtime_error("mkdtemp failed");
        dir = pattern;
    }
    ~ScratchDir() {
        std::error_code ignored;
        std::filesystem::remove_all(dir, ignored);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::string& path() const { return dir; }
    std::string file(const std::string& name) const { return dir + "/" + name; }

private:
    std::string dir;
};

inline std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

inline void writeFile(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out) throw std::runtime_error("cannot write " + path);
}

inline void copyFile(const std::string& from, const std::string& to) {
    writeFile(to, readFile(from));
}

}  // namespace rq7test
