// Writing the tree back to its file: the tree fills the binding objects
// (populate), which the writer marshals. The user's file is replaced only by
// a complete document: the text goes to a temporary file in the same folder,
// which is renamed over the original after marshalling succeeded.
#include "common/src/AttributeXml.h"
#include "common/src/ConfigBlockXml.h"
#include "common/src/ConfigLogs.h"
#include "common/src/ConfigurationXml.h"
#include "common/src/MutableConfigBlockXml.h"
#include "common/src/ka.common.xml.h"
#include "common/src/ka.common.xml.tree.h"

#include "xrt/xml_writer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <fstream>
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

void ConfigBlockXml::populate(c_ConfigBlock& element) const { populateBlock(*this, element); }

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

mode_t currentUmask() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}

}  // namespace

bool replaceFileSafely(const std::string& path, std::ios_base::openmode openMode,
                       const std::function<bool(std::ostream&)>& write) {
    const std::string target = resolveTarget(path);
    std::string temp = folderOf(target) + "/." + target.substr(target.find_last_of('/') + 1) + ".XXXXXX";
    const int fd = ::mkstemp(&temp[0]);
    if (fd < 0) return false;

    // The new file gets the original's permissions and, where allowed, its
    // owner; a new file gets what a plain create would give it.
    struct stat original;
    if (::stat(target.c_str(), &original) == 0) {
        if (!S_ISREG(original.st_mode)) {
            ::close(fd);
            ::unlink(temp.c_str());
            return false;
        }
        ::fchmod(fd, original.st_mode & 07777);
        if (::fchown(fd, original.st_uid, original.st_gid) != 0) {
            // Not the owner: the file becomes ours, with the same mode.
        }
    } else {
        ::fchmod(fd, 0666 & ~currentUmask());
    }
    ::close(fd);

    bool ok = false;
    {
        const std::ios_base::openmode mode =
            (openMode & ~(std::ios_base::app | std::ios_base::ate | std::ios_base::in)) | std::ios_base::out |
            std::ios_base::trunc;
        std::ofstream os(temp.c_str(), mode);
        if (os.is_open()) {
            ok = write(os);
            os.flush();
            ok = ok && os.good();
            os.close();
            ok = ok && !os.fail();
        }
    }
    if (ok) {
        // The text is on disk before the name points at it.
        const int sync = ::open(temp.c_str(), O_RDONLY);
        ok = sync >= 0 && ::fsync(sync) == 0;
        if (sync >= 0) ::close(sync);
    }
    if (ok) ok = ::rename(temp.c_str(), target.c_str()) == 0;
    if (!ok) ::unlink(temp.c_str());
    return ok;
}

// ---- save ------------------------------------------------------------------------

bool ConfigurationXml::save(const std::string& path, std::ios_base::openmode openMode, int) const {
    c_QUORL document;
    populate(document.get_Configuration());
    return replaceFileSafely(path, openMode, [&](std::ostream& os) {
        xrt::c_xml_writer writer(os);
        return document.marshal(writer) == XB_OK;
    });
}

}  // namespace quorl
