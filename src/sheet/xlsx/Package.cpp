// sheet/xlsx/Package.cpp - parts in a zip archive, and files that are none.
#include "sheet/xlsx/Package.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <unordered_map>

#include <zip.h>

namespace varnex3::sheet::xlsx {

namespace {

constexpr int kPieceBytes = 64 * 1024;
constexpr std::size_t kRatioFreeBytes = std::size_t{1}
                                        << 20; // small parts may be packed as well as they like
constexpr std::size_t kScanBytes = std::size_t{64} << 20;

constexpr const char* kSaveAsXlsx = "open it in a spreadsheet program and save it as .xlsx";
constexpr const char* kDamaged = "the file is damaged or incomplete; copy it again, or open it in a "
                                 "spreadsheet program and save it anew as .xlsx";

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Part names as the archive's table has them: lower case, slashes, none in front.
std::string normalized(std::string_view name)
{
    std::string result;
    result.reserve(name.size());
    for (char c : name) result.push_back(c == '\\' ? '/' : lower(c));
    const std::size_t first = result.find_first_not_of('/');
    return first == std::string::npos ? std::string() : result.substr(first);
}

bool beginsWith(std::string_view bytes, std::string_view mark)
{
    return bytes.substr(0, mark.size()) == mark;
}

// Streams of compound files are named in UTF-16.
bool holdsStreamNamed(std::string_view bytes, std::string_view name)
{
    std::string wide;
    for (char c : name) {
        wide.push_back(c);
        wide.push_back('\0');
    }
    return bytes.find(wide) != std::string_view::npos;
}

bool looksLikeText(std::string_view head)
{
    return std::all_of(head.begin(), head.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte >= 0x20 || c == '\t' || c == '\r' || c == '\n' || c == '\f';
    });
}

std::string describeMarkup(std::string_view head)
{
    if (head.find("office:document") != std::string_view::npos)
        return std::string("this is a flat document spreadsheet (.fods); ") + kSaveAsXlsx;
    return std::string("this is an XML or web page file, not an .xlsx workbook; ") + kSaveAsXlsx;
}

// What a file that is no zip archive is, and what to do about it.
std::string describeForeign(std::string_view bytes)
{
    const std::string_view head = bytes.substr(0, 4096);
    if (beginsWith(head, "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1")) {
        if (holdsStreamNamed(bytes, "EncryptedPackage"))
            return "the workbook is protected with a password; open it in a spreadsheet program, remove the "
                   "password and save it as .xlsx";
        return std::string("this is a workbook in the old binary format (.xls) or another compound file; ") +
               kSaveAsXlsx;
    }
    const std::string_view oldBiff("\x09\x08", 2);
    if (beginsWith(head, oldBiff))
        return std::string("this is a workbook in the old binary format (.xls); ") + kSaveAsXlsx;
    if (beginsWith(head, "%PDF"))
        return "this is a PDF file, not a workbook; save the workbook itself as .xlsx";

    std::string_view text = beginsWith(head, "\xEF\xBB\xBF") ? head.substr(3) : head;
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first != std::string_view::npos && text[first] == '<') return describeMarkup(text);
    if (looksLikeText(head) || beginsWith(head, "\xFF\xFE") || beginsWith(head, "\xFE\xFF"))
        return "this is plain text, not a workbook; a file of separated values needs the ending .csv or .tsv";
    return std::string("this is not an .xlsx workbook; ") + kSaveAsXlsx;
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    c = lower(c);
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

std::string unescapePercent(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '%' && i + 2 < text.size() ? hexDigit(text[i + 1]) : -1;
        const int low = high >= 0 ? hexDigit(text[i + 2]) : -1;
        if (low >= 0) {
            result.push_back(static_cast<char>(high * 16 + low));
            i += 2;
        } else {
            result.push_back(text[i]);
        }
    }
    return result;
}

class RelationshipHandler final : public XmlHandler {
public:
    RelationshipHandler(Package& package, std::string source) : package_(package), source_(std::move(source))
    {}

    bool open(const Tag& tag) override
    {
        if (tag.depth == 1) return tag.name == "Relationships";
        if (tag.depth == 2 && tag.name == "Relationship") add(tag);
        return false;
    }
    void close(int) override {}

    std::vector<Relationship> found;

private:
    void add(const Tag& tag)
    {
        const char* id = tag.attribute("Id");
        const char* type = tag.attribute("Type");
        const char* target = tag.attribute("Target");
        if (!id || !type || !target) return;
        const char* mode = tag.attribute("TargetMode");
        Relationship made;
        made.id = id;
        const std::string_view whole(type);
        made.type = whole.substr(whole.rfind('/') + 1); // whole when there is no slash
        made.external = mode && std::string_view(mode) == "External";
        made.target = made.external ? std::string(target) : resolveTarget(source_, target);
        package_.chargeText(made.id.size() + made.type.size() + made.target.size() + sizeof made);
        found.push_back(std::move(made));
    }

    Package& package_;
    std::string source_;
};

} // namespace

struct Package::Archive {
    struct Entry {
        zip_uint64_t index = 0;
        bool twice = false;
    };
    struct Discard {
        void operator()(zip_t* archive) const { zip_discard(archive); }
    };

    std::unique_ptr<zip_t, Discard> zip;
    std::unordered_map<std::string, Entry> parts;
    std::size_t bytes = 0; // of the whole file
};

namespace {

std::string errorText(int code)
{
    zip_error_t error;
    zip_error_init_with_code(&error, code);
    std::string text = zip_error_strerror(&error);
    zip_error_fini(&error);
    return text;
}

// The first bytes of a file; nothing when it cannot be read.
bool readHead(const std::string& path, std::size_t most, std::string& head)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!file) return false;
    char piece[kPieceBytes];
    std::size_t got = 0;
    while (head.size() < most && (got = std::fread(piece, 1, sizeof piece, file.get())) > 0)
        head.append(piece, got);
    return std::ferror(file.get()) == 0;
}

} // namespace

Package::Package(const std::string& path, const ReadLimits& limits)
    : fileName_(path), limits_(limits), archive_(std::make_unique<Archive>())
{
    namespace fs = std::filesystem;
    std::error_code code;
    const fs::file_status status = fs::status(path, code);
    if (status.type() == fs::file_type::not_found) fail("", "there is no such file");
    if (fs::is_directory(status)) fail("", "this is a folder, not a workbook file");
    if (!fs::is_regular_file(status)) fail("", "this is not a regular file");
    const std::uintmax_t size = fs::file_size(path, code);
    if (code) fail("", "the file cannot be read: " + code.message());
    if (size == 0) fail("", "the file is empty; save the workbook again as .xlsx");
    if (size > limits_.fileBytes)
        fail("", "the file is larger than the limit of " + std::to_string(limits_.fileBytes) + " bytes");
    archive_->bytes = static_cast<std::size_t>(size);

    std::string head;
    if (!readHead(path, 4, head)) fail("", "the file cannot be read: " + std::string(std::strerror(errno)));
    if (!beginsWith(head, "PK")) {
        head.clear();
        readHead(path, kScanBytes, head);
        fail("", describeForeign(head));
    }
    int error = 0;
    archive_->zip.reset(zip_open(path.c_str(), ZIP_RDONLY, &error));
    if (!archive_->zip) fail("", errorText(error) + "; " + kDamaged);
    listParts();
}

Package::Package(std::span<const std::byte> bytes, const std::string& name, const ReadLimits& limits)
    : fileName_(name), limits_(limits), archive_(std::make_unique<Archive>())
{
    if (bytes.empty()) fail("", "the file is empty; save the workbook again as .xlsx");
    if (bytes.size() > limits_.fileBytes)
        fail("", "the file is larger than the limit of " + std::to_string(limits_.fileBytes) + " bytes");
    archive_->bytes = bytes.size();

    const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!beginsWith(all, "PK")) fail("", describeForeign(all.substr(0, kScanBytes)));
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error);
    zip_t* zip = source ? zip_open_from_source(source, ZIP_RDONLY, &error) : nullptr;
    const std::string text = zip ? std::string() : zip_error_strerror(&error);
    zip_error_fini(&error);
    if (!zip) {
        if (source) zip_source_free(source);
        fail("", text + "; " + kDamaged);
    }
    archive_->zip.reset(zip);
    listParts();
}

Package::Package(const std::string& name, std::string part, std::string_view content,
                 const ReadLimits& limits)
    : fileName_(name), limits_(limits), onlyPart_(std::move(part)), onlyContent_(content)
{
    if (content.size() > limits_.fileBytes)
        fail("", "the file is larger than the limit of " + std::to_string(limits_.fileBytes) + " bytes");
}

Package::~Package() = default;

void Package::listParts()
{
    const zip_int64_t count = zip_get_num_entries(archive_->zip.get(), 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        const auto index = static_cast<zip_uint64_t>(i);
        const char* name = zip_get_name(archive_->zip.get(), index, ZIP_FL_ENC_RAW);
        if (!name) continue;
        const auto [place, fresh] =
            archive_->parts.try_emplace(normalized(name), Archive::Entry{index, false});
        if (!fresh) place->second.twice = true;
    }
    if (has("xl/workbook.bin")) fail("", std::string("this is a binary workbook (.xlsb); ") + kSaveAsXlsx);
    if (has("word/document.xml") || has("ppt/presentation.xml"))
        fail("", "this is a text document or a presentation, not a workbook");
}

bool Package::has(const std::string& part) const
{
    return archive_ ? archive_->parts.count(normalized(part)) != 0 : normalized(part) == onlyPart_;
}

void Package::readAlone(XmlHandler& handler)
{
    XmlParser parser(handler, limits_.depth);
    try {
        for (std::size_t at = 0; at <= onlyContent_.size();) {
            const std::string_view piece = onlyContent_.substr(at, kPieceBytes);
            if (!piece.empty()) std::memcpy(parser.buffer(kPieceBytes), piece.data(), piece.size());
            parser.parse(static_cast<int>(piece.size()), piece.empty());
            at += std::max<std::size_t>(piece.size(), 1);
        }
    } catch (const XmlProblem& problem) {
        fail(handler.where(), problem.text + "; " + kDamaged);
    }
}

void Package::read(const std::string& part, XmlHandler& handler)
{
    if (!archive_ && has(part)) return readAlone(handler);
    const std::string partWhere = "part " + part;
    if (!archive_) fail(partWhere, "is missing");
    const auto found = archive_->parts.find(normalized(part));
    if (found == archive_->parts.end()) fail(partWhere, std::string("is missing; ") + kDamaged);
    if (found->second.twice) fail(partWhere, std::string("is in the file more than once; ") + kDamaged);

    zip_t* zip = archive_->zip.get();
    zip_stat_t about;
    zip_stat_init(&about);
    zip_stat_index(zip, found->second.index, 0, &about);
    const std::size_t packed = (about.valid & ZIP_STAT_COMP_SIZE) != 0
                                   ? std::min<std::size_t>(about.comp_size, archive_->bytes)
                                   : archive_->bytes;

    const std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> file(zip_fopen_index(zip, found->second.index, 0),
                                                                 zip_fclose);
    if (!file) {
        const int code = zip_error_code_zip(zip_get_error(zip));
        if (code == ZIP_ER_NOPASSWD)
            fail(partWhere, "is protected with a password; save the workbook without one as .xlsx");
        fail(partWhere, std::string(zip_strerror(zip)) + "; " + kDamaged);
    }

    const auto place = [&] {
        const std::string inside = handler.where();
        return inside.empty() ? partWhere : inside + " (" + partWhere + ")";
    };
    XmlParser parser(handler, limits_.depth);
    std::size_t unpacked = 0;
    try {
        for (;;) {
            const zip_int64_t got = zip_fread(file.get(), parser.buffer(kPieceBytes), kPieceBytes);
            if (got < 0) fail(place(), std::string(zip_file_strerror(file.get())) + "; " + kDamaged);
            unpacked += static_cast<std::size_t>(got);
            expanded_ += static_cast<std::size_t>(got);
            if (unpacked > kRatioFreeBytes && unpacked / std::max<std::size_t>(limits_.partRatio, 1) > packed)
                fail(place(), "unpacks to more than " + std::to_string(limits_.partRatio) +
                                  " times its size, which no real workbook does");
            if (expanded_ > limits_.expandedBytes)
                fail(place(), "the file unpacks to more than the limit of " +
                                  std::to_string(limits_.expandedBytes) + " bytes");
            parser.parse(static_cast<int>(got), got == 0);
            if (got > 0) continue;
            if ((about.valid & ZIP_STAT_SIZE) != 0 && about.size != unpacked)
                fail(place(), std::string("is not as long as the file says; ") + kDamaged);
            return;
        }
    } catch (const XmlProblem& problem) {
        fail(place(), problem.text + "; " + kDamaged);
    }
}

std::vector<Relationship> Package::relationships(const std::string& part)
{
    const std::string name = relationshipPart(part);
    if (!has(name)) return {};
    RelationshipHandler handler(*this, part);
    read(name, handler);
    return std::move(handler.found);
}

void Package::chargeText(std::size_t bytes)
{
    text_ += bytes;
    if (text_ > limits_.textBytes)
        fail("", "the texts of the file exceed the limit of " + std::to_string(limits_.textBytes) + " bytes");
}

void Package::fail(std::string_view where, std::string_view problem) const
{
    std::string message = fileName_ + ": ";
    if (!where.empty()) message.append(where).append(": ");
    throw FileError(message.append(problem));
}

std::string relationshipPart(const std::string& part)
{
    const std::size_t slash = part.rfind('/');
    if (slash == std::string::npos) return "_rels/" + part + ".rels";
    return part.substr(0, slash + 1) + "_rels/" + part.substr(slash + 1) + ".rels";
}

std::string resolveTarget(std::string_view source, std::string_view target)
{
    const std::string wanted = unescapePercent(target);
    std::string path;
    const bool absolute = !wanted.empty() && (wanted[0] == '/' || wanted[0] == '\\');
    const std::size_t folder = source.rfind('/');
    if (!absolute && folder != std::string_view::npos) path = std::string(source.substr(0, folder + 1));
    path += wanted;

    std::vector<std::string> steps;
    std::size_t at = 0;
    while (at <= path.size()) {
        const std::size_t end = std::min(path.find_first_of("/\\", at), path.size());
        const std::string step = path.substr(at, end - at);
        if (step == "..") {
            if (!steps.empty()) steps.pop_back();
        } else if (!step.empty() && step != ".") {
            steps.push_back(step);
        }
        at = end + 1;
    }
    std::string result;
    for (const std::string& step : steps) result += (result.empty() ? "" : "/") + step;
    return result;
}

} // namespace varnex3::sheet::xlsx
