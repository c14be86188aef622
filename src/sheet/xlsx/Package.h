// sheet/xlsx/Package.h - the container of a workbook file: named parts and how they refer to each other.
//
// Tells other kinds of files apart so that the message can say what to do. Enforces the limits on
// sizes; knows nothing of what the parts mean.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sheet/xlsx/Reader.h"
#include "sheet/xlsx/Xml.h"

namespace varnex3::sheet::xlsx {

/// One reference from a part to another part or to something outside the file.
struct Relationship {
    std::string id;
    std::string type;   // last segment of its type: "worksheet", "styles", ...
    std::string target; // part name for an inner one, else as written
    bool external = false;
};

class Package {
public:
    Package(const std::string& path, const ReadLimits& limits);
    Package(std::span<const std::byte> bytes, const std::string& name, const ReadLimits& limits);
    /// A file that is one part itself, without an archive around it; `content` outlives the package.
    Package(const std::string& name, std::string part, std::string_view content, const ReadLimits& limits);
    ~Package();
    Package(const Package&) = delete;
    Package& operator=(const Package&) = delete;

    const std::string& fileName() const { return fileName_; }
    const ReadLimits& limits() const { return limits_; }

    /// Part names count without regard to case and without a leading slash.
    bool has(const std::string& part) const;
    /// Streams a part through a handler. Raises FileError naming the part and where the handler stood.
    void read(const std::string& part, XmlHandler& handler);
    /// References from a part ("" for the package itself); none when the file lists none.
    std::vector<Relationship> relationships(const std::string& part);

    /// Counts text that is kept in memory against the limit.
    void chargeText(std::size_t bytes);

    /// Raises FileError: the file's name, `where` unless empty, `problem`.
    [[noreturn]] void fail(std::string_view where, std::string_view problem) const;

private:
    struct Archive;

    void listParts();
    void readAlone(XmlHandler& handler);

    std::string fileName_;
    ReadLimits limits_;
    std::unique_ptr<Archive> archive_; // null: of one part
    std::string onlyPart_;
    std::string_view onlyContent_;
    std::size_t expanded_ = 0;
    std::size_t text_ = 0;
};

/// The part that lists the references from a part.
std::string relationshipPart(const std::string& part);

/// The part that `target` means in a reference from `source`: absolute or relative, any separators,
/// percent escapes resolved; never above the root.
std::string resolveTarget(std::string_view source, std::string_view target);

} // namespace varnex3::sheet::xlsx
