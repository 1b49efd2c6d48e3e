// Writing the tree back to its file: the tree fills the binding objects
// (populate), which the writer marshals. The user's file is replaced only by
// a complete document: the text goes straight to an unnamed file in the same folder,
// which gets a name once it is complete and synced and is then renamed over
// the original.
#include "common/src/AttributeXml.h"
#include "common/src/ConfigBlockXml.h"
#include "common/src/ConfigLogs.h"
#include "common/src/ConfigurationXml.h"
#include "common/src/MutableConfigBlockXml.h"
#include "common/src/ka.common.xml.h"
#include "common/src/ka.common.xml.tree.h"

#include "xrt/xml_writer.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <sstream>
#include <vector>

namespace quorl {

// ---- populate ----------------------------------------------------------------

namespace {

// Attributes first, then blocks: a file where they alternate comes back with
// the attributes ahead.
template <class Block>
void populateBlock(const Block& block, c_ConfigBlock& element) {
    element.set_Name(block.getName());
    const auto attributes = block.getConfigAttributes()->snapshot();
    const auto blocks = block.getConfigBlocks()->snapshot();
    element.reserve_StringAttribute(attributes.size() + blocks.size());
    PopulateConfigAttributeXMLVisitor visitor(&element);
    for (const ConfigAttributePtr& attribute : attributes) {
        element.append_StringAttribute();
        attribute->accept(visitor);
    }
    for (const ConfigBlockPtr& child : blocks) {
        c_anon_StringAttribute& choice = element.append_StringAttribute();
        choice.select(c_anon_StringAttribute::kind_ConfigBlock);
        c_ConfigBlock& childElement = *choice.as<c_ConfigBlock>();
        if (auto editable = dynamic_cast<const MutableConfigBlockXml*>(child.get()))
            editable->populate(childElement);
        else if (auto plain = dynamic_cast<const ConfigBlockXml*>(child.get()))
            plain->populate(childElement);
    }
}

}  // namespace

void ConfigBlockXml::populate(c_ConfigBlock& element) const {
    populateBlock(*this, element);
}

void MutableConfigBlockXml::populate(c_ConfigBlock& element) const {
    populateBlock(*this, element);
    element.set_Mutable(true);
}

// Blocks in ascending order of the name, whatever their order in the file.
void ConfigurationXml::populate(c_Configuration& element) const {
    element.set_Name(getName());
    element.set_Version(getVersion());
    const std::string text = getComments();
    if (!text.empty()) element.set_Comments(text);
    for (const ConfigBlockPtr& block : blockMap.values()) {
        c_ConfigBlock& blockElement = element.append_ConfigBlock();
        if (auto editable = dynamic_cast<const MutableConfigBlockXml*>(block.get()))
            editable->populate(blockElement);
        else if (auto plain = dynamic_cast<const ConfigBlockXml*>(block.get()))
            plain->populate(blockElement);
        else
            logConfigurationXml.write("Unsupported configuration type", LOG_ERROR);
    }
}

// ---- Replacing a file safely ---------------------------------------------------

namespace {

// The file a path finally names: a symbolic link is followed, so that the
// link stays and its target gets the new text.
std::string resolveTarget(const std::string& path) {
    struct stat st;
    if (::lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode)) {
        std::vector<char> buffer(PATH_MAX + 1);
        if (::realpath(path.c_str(), buffer.data())) return buffer.data();
    }
    return path;
}

std::string folderOf(const std::string& path) {
    const std::string::size_type slash = path.find_last_of('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

int writeAll(int fd, const char* p, size_t left) {
    while (left) {
        const ssize_t n = ::write(fd, p, left);
        if (n < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        p += n;
        left -= static_cast<size_t>(n);
    }
    return 0;
}

int writeAll(int fd, const std::string& text) {
    return writeAll(fd, text.data(), text.size());
}

// The document goes straight to the temporary file through this buffer: a
// text built in memory first cost three times its size at the peak of a save.
// The first failed write is kept and fails the stream.
class FileOutput : public std::streambuf {
public:
    explicit FileOutput(int fd) : fd(fd), buffer(new char[size]) { setp(buffer.get(), buffer.get() + size); }
    int error() const { return failure; }

protected:
    int overflow(int c) override {
        if (drain() != 0) return traits_type::eof();
        if (c != traits_type::eof()) {
            *pptr() = static_cast<char>(c);
            pbump(1);
        }
        return traits_type::not_eof(c);
    }
    std::streamsize xsputn(const char* s, std::streamsize n) override {
        if (n > epptr() - pptr()) {
            if (drain() != 0) return 0;
            if (n >= static_cast<std::streamsize>(size)) {
                failure = writeAll(fd, s, static_cast<size_t>(n));
                return failure ? 0 : n;
            }
        }
        std::memcpy(pptr(), s, static_cast<size_t>(n));
        pbump(static_cast<int>(n));
        return n;
    }
    int sync() override { return drain(); }

private:
    int drain() {
        if (failure) return -1;
        if (pptr() > pbase()) failure = writeAll(fd, pbase(), static_cast<size_t>(pptr() - pbase()));
        setp(buffer.get(), buffer.get() + size);
        return failure ? -1 : 0;
    }

    static constexpr size_t size = 64 * 1024;
    int fd;
    int failure = 0;
    std::unique_ptr<char[]> buffer;
};

// Output that goes nowhere: tells whether a writer succeeds, where a failed
// writer must be reported ahead of a failure of the file.
bool writerFails(const std::function<bool(std::ostream&)>& write) {
    struct Discard : std::streambuf {
        int overflow(int c) override { return traits_type::not_eof(c); }
        std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
    } discard;
    std::ostream os(&discard);
    return !write(os) || !os.good();
}

// While a save runs, SIGINT and SIGTERM first remove the temporary name (if
// the file has one yet) and then end the process as the signal would.
// Only async-signal-safe calls in the handler: the name lives in a fixed buffer.
char pendingTemporary[PATH_MAX];

extern "C" void removeTemporaryAndDie(int sig) {
    if (pendingTemporary[0]) ::unlink(pendingTemporary);
    ::raise(sig);  // the handler was reset on entry: the default action now
}

class SignalGuard {
public:
    SignalGuard() {
        pendingTemporary[0] = '\0';
        struct sigaction action {};
        action.sa_handler = removeTemporaryAndDie;
        action.sa_flags = SA_RESETHAND | SA_NODEFER;
        sigemptyset(&action.sa_mask);
        for (int i = 0; i < 2; ++i) ::sigaction(signals[i], &action, &previous[i]);
    }
    ~SignalGuard() {
        for (int i = 0; i < 2; ++i) ::sigaction(signals[i], &previous[i], nullptr);
        pendingTemporary[0] = '\0';
    }
    SignalGuard(const SignalGuard&) = delete;
    SignalGuard& operator=(const SignalGuard&) = delete;

    // The name to remove from now on ("" for none).
    static void track(const std::string& name) {
        pendingTemporary[0] = '\0';  // no name while it is being copied
        if (name.empty() || name.size() >= sizeof pendingTemporary) return;
        std::memcpy(pendingTemporary + 1, name.c_str() + 1, name.size());  // with its terminator
        std::atomic_signal_fence(std::memory_order_seq_cst);
        pendingTemporary[0] = name[0];
    }

private:
    const int signals[2] = {SIGINT, SIGTERM};
    struct sigaction previous[2];
};

// A short name of our own beside the target, so that a target of the
// longest name the system allows can still be saved.
std::string temporaryName(const std::string& folder) {
    static const char letters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    std::string name = folder + "/.rq7-";
    for (int i = 0; i < 8; ++i) name += letters[random() % (sizeof letters - 1)];
    return name;
}

// Gives the unnamed file `fd` a temporary name in `folder`: 0 or an errno.
int nameUnnamedFile(int fd, const std::string& folder, std::string* name) {
    const std::string self = "/proc/self/fd/" + std::to_string(fd);
    for (int attempt = 0; attempt < 16; ++attempt) {
        *name = temporaryName(folder);
        SignalGuard::track(*name);
        // The /proc link needs no privilege; AT_EMPTY_PATH works where /proc is missing.
        if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name->c_str(), AT_SYMLINK_FOLLOW) == 0) return 0;
        if (errno == ENOENT && ::linkat(fd, "", AT_FDCWD, name->c_str(), AT_EMPTY_PATH) == 0) return 0;
        if (errno != EEXIST) break;
    }
    const int error = errno;
    SignalGuard::track("");
    return error;
}

// A named temporary file, for file systems without unnamed ones.
int createNamedTemporary(const std::string& folder, mode_t mode, std::string* name) {
    for (int attempt = 0; attempt < 16; ++attempt) {
        *name = temporaryName(folder);
        SignalGuard::track(*name);
        const int fd = ::open(name->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (fd >= 0) return fd;
        if (errno != EEXIST) break;
    }
    const int error = errno;
    SignalGuard::track("");
    errno = error;
    return -1;
}

// The file keeps its old owner and mode where that is allowed.
void copyOwnership(int fd, const struct stat* original) {
    if (!original) return;
    ::fchmod(fd, original->st_mode & 07777);
    if (::fchown(fd, original->st_uid, original->st_gid) != 0) {
        // Not the owner: the file becomes ours, with the same mode.
    }
}

// Rewrites the target itself: for a folder that takes no new file while the
// file is writable. The text is complete before the file is touched.
int writeInPlace(const std::string& target, const std::string& text) {
    const int fd = ::open(target.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) return errno;
    int error = writeAll(fd, text);
    if (!error && ::ftruncate(fd, static_cast<off_t>(text.size())) != 0) error = errno;
    if (!error && ::fsync(fd) != 0) error = errno;
    if (::close(fd) != 0 && !error) error = errno;
    return error;
}

bool folderRefusesNewFiles(int error) {
    return error == EACCES || error == EPERM;
}

}  // namespace

int replaceFile(const std::string& path, const std::function<bool(std::ostream&)>& write, SaveMethod method) {
    const std::string target = resolveTarget(path);
    const std::string folder = folderOf(target);

    struct stat original;
    const bool exists = ::stat(target.c_str(), &original) == 0;
    if (exists && !S_ISREG(original.st_mode)) {
        if (writerFails(write)) return EINVAL;
        return S_ISDIR(original.st_mode) ? EISDIR : EINVAL;
    }
    // Without a temporary file: the text is complete in memory before the
    // target is touched.
    const auto refused = [&](int error) {
        if (!exists || !folderRefusesNewFiles(error)) return writerFails(write) ? EINVAL : error;
        std::ostringstream os;
        if (!write(os) || !os.good()) return EINVAL;
        return writeInPlace(target, os.str());
    };

    SignalGuard guard;
    std::string name;  // the temporary's name once it has one
    int fd = -1;
    if (method == SaveMethod::Automatic) {
        fd = ::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) return refused(errno);
    }
    if (fd < 0) {
        fd = createNamedTemporary(folder, 0666, &name);
        if (fd < 0) return refused(errno);
    }
    copyOwnership(fd, exists ? &original : nullptr);

    int error = 0;
    {
        FileOutput output(fd);
        std::ostream os(&output);
        const bool written = write(os) && os.flush().good();
        if (output.error())
            error = writerFails(write) ? EINVAL : output.error();
        else if (!written)
            error = EINVAL;
    }
    // The text is on disk before any name points at it.
    if (!error && ::fsync(fd) != 0) error = errno;
    if (!error && name.empty()) error = nameUnnamedFile(fd, folder, &name);
    if (::close(fd) != 0 && !error) error = errno;
    if (!error && ::rename(name.c_str(), target.c_str()) != 0) error = errno;
    if (error && !name.empty()) ::unlink(name.c_str());
    return error;
}

bool replaceFileSafely(const std::string& path, std::ios_base::openmode,
                       const std::function<bool(std::ostream&)>& write) {
    const int error = replaceFile(path, write);
    errno = error;
    return error == 0;
}

// ---- save ------------------------------------------------------------------------

namespace {

// Writing straight from the tree: each attribute passes through a binding
// object of its own, written and dropped, so that the document never exists
// twice in memory. The text is the one populate and marshal give.
exrt_error writeBlock(const ConfigBlock* block, xrt::c_xml_writer& w);

template <class Block>
exrt_error writeBlockOf(const Block& block, bool editable, xrt::c_xml_writer& w) {
    c_ConfigBlock head;
    head.set_Name(block.getName());
    if (editable) head.set_Mutable(true);
    head.marshal_open(w);
    c_ConfigBlock holder;
    PopulateConfigAttributeXMLVisitor visitor(&holder);
    exrt_error failure = XB_OK;
    block.forEachAttribute([&](const ConfigAttributePtr& attribute) {
        if (failure) return;
        holder.clear_StringAttribute();
        holder.append_StringAttribute();
        attribute->accept(visitor);
        failure = holder.get_StringAttribute(0).marshal(w);
    });
    if (failure) return failure;
    for (const ConfigBlockPtr& child : block.getConfigBlocks()->snapshot())
        if (exrt_error e = writeBlock(child.get(), w)) return e;
    head.marshal_close(w);
    return XB_OK;
}

// A block of another implementation is written as an empty element, as
// populate leaves it.
exrt_error writeBlock(const ConfigBlock* block, xrt::c_xml_writer& w) {
    if (auto editable = dynamic_cast<const MutableConfigBlockXml*>(block)) return writeBlockOf(*editable, true, w);
    if (auto plain = dynamic_cast<const ConfigBlockXml*>(block)) return writeBlockOf(*plain, false, w);
    return c_ConfigBlock().marshal(w);
}

}  // namespace

exrt_error ConfigurationXml::write(xrt::c_xml_writer& w) const {
    c_Configuration head;
    head.set_Name(getName());
    head.set_Version(getVersion());
    const std::string text = getComments();
    if (!text.empty()) head.set_Comments(text);
    writeStart(w, "QUORL");
    head.marshal_open(w);
    for (const ConfigBlockPtr& block : blockMap.values()) {
        if (!dynamic_cast<const ConfigBlockXml*>(block.get()) &&
            !dynamic_cast<const MutableConfigBlockXml*>(block.get()))
            logConfigurationXml.write("Unsupported configuration type", LOG_ERROR);
        if (exrt_error e = writeBlock(block.get(), w)) return e;
    }
    head.marshal_close(w);
    writeEnd(w, "QUORL");
    return XB_OK;
}

bool ConfigurationXml::save(const std::string& path, std::ios_base::openmode openMode, int) const {
    return replaceFileSafely(path, openMode, [&](std::ostream& os) {
        xrt::c_xml_writer writer(os);
        return write(writer) == XB_OK;
    });
}

}  // namespace quorl
