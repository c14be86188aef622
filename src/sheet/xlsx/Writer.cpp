// sheet/xlsx/Writer.cpp - which parts of a file are written anew, and the archive they go into.
//
// The target begins as a copy of the source; libzip then replaces single entries and carries the packed
// bytes of all others over. Written parts are made twice, once to know their size: an archive whose sizes
// are not known beforehand has entries that spreadsheet programs complain about.
#include "sheet/xlsx/Writer.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>

#include <unistd.h>
#include <zip.h>

#include "sheet/xlsx/ExternalLinks.h"
#include "sheet/xlsx/Markup.h"
#include "sheet/xlsx/Metadata.h"
#include "sheet/xlsx/Package.h"
#include "sheet/xlsx/PackageEdits.h"
#include "sheet/xlsx/Parts.h"
#include "sheet/xlsx/SheetWriter.h"

namespace varnex3::sheet {

namespace {

using namespace xlsx;
namespace fs = std::filesystem;

constexpr std::size_t kPieceBytes = 64 * 1024;
constexpr std::uint64_t kFastBytes = std::uint64_t{16} << 20; // larger parts are packed fast, not small
constexpr zip_uint16_t kNoDate = 0x21;                        // 1 January 1980: equal books give equal files
constexpr const char* kContentTypes = "[Content_Types].xml";
constexpr const char* kSheetType =
    "application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml";
constexpr const char* kLinkType =
    "application/vnd.openxmlformats-officedocument.spreadsheetml.externalLink+xml";
constexpr const char* kMetadataType =
    "application/vnd.openxmlformats-officedocument.spreadsheetml.sheetMetadata+xml";
constexpr const char* kTypes = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";
constexpr const char* kStrictTypes = "http://purl.oclc.org/ooxml/officeDocument/relationships/";
constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
constexpr const char* kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";

[[noreturn]] void fail(const std::string& file, const std::string& problem)
{
    throw FileError(file + ": " + problem);
}

struct Discard {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
using Archive = std::unique_ptr<zip_t, Discard>;

Archive openArchive(const std::string& path, int flags, const std::string& shown)
{
    int code = 0;
    Archive archive(zip_open(path.c_str(), flags, &code));
    if (archive) return archive;
    zip_error_t error;
    zip_error_init_with_code(&error, code);
    const std::string text = zip_error_strerror(&error);
    zip_error_fini(&error);
    fail(shown, text);
}

class FixedText final : public PartText {
public:
    explicit FixedText(std::string text) : text_(std::move(text)) {}
    bool more(std::string& out) override
    {
        out += text_;
        text_.clear();
        return !out.empty();
    }

private:
    std::string text_;
};

/// A part of the source as an edit changes it.
class EditedPart final : public PartText {
public:
    EditedPart(zip_t* source, std::string where, zip_int64_t index, std::unique_ptr<XmlEdit> edit)
        : where_(std::move(where)), file_(zip_fopen_index(source, static_cast<zip_uint64_t>(index), 0)),
          edit_(std::move(edit)), copier_(*edit_)
    {
        if (!file_) throw FileError(where_ + ": " + zip_strerror(source));
    }

    bool more(std::string& out) override
    {
        if (ended_) return false;
        const zip_int64_t got = zip_fread(file_.get(), piece_.data(), piece_.size());
        if (got < 0) throw FileError(where_ + ": " + zip_file_strerror(file_.get()));
        ended_ = got == 0;
        try {
            copier_.parse({piece_.data(), static_cast<std::size_t>(got)}, ended_);
        } catch (const XmlProblem& problem) {
            throw FileError(where_ + ": " + problem.text +
                            "; open it in a spreadsheet program and save it anew");
        }
        out += edit_->out;
        edit_->out.clear();
        return true;
    }

    const XmlEdit& edit() const { return *edit_; }

private:
    struct Close {
        void operator()(zip_file_t* file) const { zip_fclose(file); }
    };

    std::string where_;
    std::unique_ptr<zip_file_t, Close> file_;
    std::unique_ptr<XmlEdit> edit_;
    XmlCopier copier_;
    std::vector<char> piece_ = std::vector<char>(kPieceBytes);
    bool ended_ = false;
};

std::uint64_t measured(PartText& part)
{
    std::uint64_t size = 0;
    for (std::string piece; part.more(piece); piece.clear()) size += piece.size();
    return size;
}

/// What a defined name means, with other books by their numbers.
std::string nameFormula(const Book& book, const NameState& state)
{
    FormulaPlace place;
    place.linkTo = [&](std::string_view path) { return book.linkTo(path); };
    return fileFormula(state.formula, place);
}

using PartMaker = std::function<std::unique_ptr<PartText>()>;

/// What libzip reads a written part from.
class PartSource {
public:
    PartSource(PartMaker make, std::uint64_t size) : make_(std::move(make)), size_(size)
    {
        zip_error_init(&error_);
    }
    ~PartSource() { zip_error_fini(&error_); }
    PartSource(const PartSource&) = delete;
    PartSource& operator=(const PartSource&) = delete;

    std::uint64_t size() const { return size_; }
    void throwFailure() const
    {
        if (failure_) std::rethrow_exception(failure_);
    }

    static zip_int64_t serve(void* self, void* data, zip_uint64_t length, zip_source_cmd_t command)
    {
        return static_cast<PartSource*>(self)->answer(data, length, command);
    }

private:
    zip_int64_t answer(void* data, zip_uint64_t length, zip_source_cmd_t command)
    {
        try {
            switch (command) {
            case ZIP_SOURCE_OPEN:
                part_ = make_();
                piece_.clear();
                at_ = 0;
                return 0;
            case ZIP_SOURCE_READ: return read(static_cast<char*>(data), length);
            case ZIP_SOURCE_CLOSE: part_.reset(); return 0;
            case ZIP_SOURCE_STAT: {
                auto* about = static_cast<zip_stat_t*>(data);
                zip_stat_init(about);
                about->size = size_;
                about->valid = ZIP_STAT_SIZE;
                return sizeof *about;
            }
            case ZIP_SOURCE_ERROR: return zip_error_to_data(&error_, data, length);
            case ZIP_SOURCE_FREE: return 0;
            case ZIP_SOURCE_SUPPORTS: return ZIP_SOURCE_SUPPORTS_READABLE;
            default: break;
            }
            zip_error_set(&error_, ZIP_ER_OPNOTSUPP, 0);
        } catch (...) { // must not cross the C library
            failure_ = std::current_exception();
            zip_error_set(&error_, ZIP_ER_INTERNAL, 0);
        }
        return -1;
    }

    zip_int64_t read(char* data, zip_uint64_t length)
    {
        while (at_ == piece_.size()) {
            piece_.clear();
            at_ = 0;
            if (!part_->more(piece_)) return 0;
        }
        const std::size_t n = std::min<std::size_t>(length, piece_.size() - at_);
        std::memcpy(data, piece_.data() + at_, n);
        at_ += n;
        return static_cast<zip_int64_t>(n);
    }

    PartMaker make_;
    std::uint64_t size_;
    std::unique_ptr<PartText> part_;
    std::string piece_;
    std::size_t at_ = 0;
    zip_error_t error_;
    std::exception_ptr failure_;
};

/// The archive beside the target; it disappears unless it is put in the target's place.
class Target {
public:
    explicit Target(const std::string& path) : shown_(path)
    {
        std::error_code code;
        target_ = fs::weakly_canonical(path, code); // a link stays one
        if (code) target_ = path;
        if (fs::is_directory(target_, code)) fail(shown_, "this is a folder, not a file");
        if (!fs::is_directory(target_.has_parent_path() ? target_.parent_path() : fs::path("."), code))
            fail(shown_, "there is no such folder");
        for (int i = 0;; ++i) {
            temporary_ = target_;
            temporary_ += "." + std::to_string(getpid()) + "-" + std::to_string(i) + ".part";
            if (!fs::exists(temporary_, code)) break;
        }
    }
    ~Target()
    {
        zip_.reset(); // before the parts that it knows of
        std::error_code code;
        fs::remove(temporary_, code);
    }
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    void copyFrom(const std::string& source)
    {
        std::error_code code;
        fs::copy_file(source, temporary_, code);
        if (!code) fs::permissions(temporary_, fs::perms::owner_write, fs::perm_options::add, code);
        if (code) fail(shown_, "cannot be written: " + code.message());
        zip_ = openArchive(temporary_.string(), 0, shown_);
    }
    void create() { zip_ = openArchive(temporary_.string(), ZIP_CREATE | ZIP_EXCL, shown_); }

    void put(const std::string& part, PartMaker make, std::uint64_t size)
    {
        parts_.push_back(std::make_unique<PartSource>(std::move(make), size));
        zip_source_t* source = zip_source_function(zip_.get(), PartSource::serve, parts_.back().get());
        if (!source) fail(shown_, zip_strerror(zip_.get()));
        zip_int64_t index = find(part);
        const bool done = index >= 0 ? zip_file_replace(zip_.get(), entry(index), source, 0) == 0
                                     : (index = zip_file_add(zip_.get(), part.c_str(), source, 0)) >= 0;
        if (!done) {
            zip_source_free(source);
            fail(shown_, zip_strerror(zip_.get()));
        }
        zip_set_file_compression(zip_.get(), entry(index), ZIP_CM_DEFLATE, size > kFastBytes ? 1 : 6);
        zip_file_set_dostime(zip_.get(), entry(index), 0, kNoDate, 0);
    }
    void remove(const std::string& part)
    {
        if (const zip_int64_t index = find(part); index >= 0) zip_delete(zip_.get(), entry(index));
    }
    bool has(const std::string& part) const { return find(part) >= 0; }

    void finish()
    {
        if (zip_close(zip_.get()) != 0) {
            for (const auto& part : parts_) part->throwFailure();
            fail(shown_, std::string("cannot be written: ") + zip_strerror(zip_.get()));
        }
        static_cast<void>(zip_.release());
        std::error_code code;
        const fs::file_status known = fs::status(target_, code);
        if (fs::exists(known)) fs::permissions(temporary_, known.permissions(), code);
        fs::rename(temporary_, target_, code);
        if (code) fail(shown_, "cannot be written: " + code.message());
    }

private:
    static zip_uint64_t entry(zip_int64_t index) { return static_cast<zip_uint64_t>(index); }
    zip_int64_t find(const std::string& part) const
    {
        return zip_name_locate(zip_.get(), part.c_str(), ZIP_FL_NOCASE);
    }

    std::string shown_;
    fs::path target_, temporary_;
    std::vector<std::unique_ptr<PartSource>> parts_; // libzip reads them when it closes the archive
    Archive zip_;
};

/// The content type of the workbook part, which says whether the file may have macros.
class MainType final : public XmlHandler {
public:
    explicit MainType(const std::string& part) : part_("/" + lowerCase(part)) {}

    bool open(const Tag& tag) override
    {
        const char* name = tag.attribute("PartName");
        const char* type = tag.attribute("ContentType");
        if (tag.depth == 2 && name && type && lowerCase(name) == part_) found = type;
        return tag.depth == 1;
    }
    void close(int) override {}

    std::string found;

private:
    std::string part_;
};

std::string endingOf(const std::string& path) { return lowerCase(fs::path(path).extension().string()); }

void requireEnding(const std::string& target, const std::string& mainType)
{
    const bool macros = mainType.find("macroEnabled") != std::string::npos;
    const bool pattern = mainType.find("template") != std::string::npos;
    const std::string wanted = pattern ? (macros ? ".xltm" : ".xltx") : (macros ? ".xlsm" : ".xlsx");
    if (endingOf(target) == wanted) return;
    fail(target,
         "the name of this workbook must end in " + wanted + (macros ? ", because it may hold macros" : ""));
}

/// One saving of a book over a copy of its file.
class Update {
public:
    Update(const Book& book, const std::string& source, const std::string& target)
        : book_(book), source_(source), package_(source, ReadLimits{}),
          reading_(openArchive(source, ZIP_RDONLY, source)), targetPath_(target), target_(target)
    {}

    void run()
    {
        findParts();
        target_.copyFrom(source_);
        markSpills();
        for (SheetIndex i = 0; i < book_.sheetCount(); ++i)
            if (book_.loadedName(i)) writeChanges(i);
        addSheets();
        renameColumns();
        changes_.names = namesOf();
        if (changed_ || listChanged_ || !changes_.names.empty()) writeLists();
        target_.finish();
    }

private:
    struct Listed {
        std::string name, id, part;
        SheetIndex sheet = -1; // in the book; -1: removed, or no worksheet
        bool worksheet = false;
    };

    void findParts()
    {
        workbookPart_ = "xl/workbook.xml";
        for (const Relationship& r : package_.relationships(""))
            if (r.type == "officeDocument" && !r.external) workbookPart_ = r.target;
        if (package_.has(kContentTypes)) {
            MainType type(workbookPart_);
            package_.read(kContentTypes, type);
            requireEnding(targetPath_, type.found);
        }
        relationships_ = package_.relationships(workbookPart_);
        const WorkbookPart workbook = readWorkbookPart(package_, workbookPart_);
        strict_ = workbook.strict;
        for (const ListedSheet& sheet : workbook.sheets) listed_.push_back(listedSheet(sheet));
        matchSheets();
    }

    Listed listedSheet(const ListedSheet& sheet) const
    {
        Listed listed;
        listed.name = sheet.name;
        listed.id = sheet.relationship;
        for (const Relationship& r : relationships_) {
            if (r.id != sheet.relationship) continue;
            listed.part = r.target;
            listed.worksheet = r.type == "worksheet";
            break;
        }
        return listed;
    }

    void matchSheets()
    {
        SheetIndex worksheets = 0;
        for (const Listed& listed : listed_) worksheets += listed.worksheet ? 1 : 0;
        bool same = worksheets == book_.loadedSheets();
        for (SheetIndex i = 0; i < book_.sheetCount(); ++i) {
            const std::string* name = book_.loadedName(i);
            if (!name) continue;
            const auto found = std::find_if(listed_.begin(), listed_.end(), [&](const Listed& listed) {
                return listed.worksheet && listed.name == *name;
            });
            same = same && found != listed_.end();
            if (same) found->sheet = i;
        }
        if (!same) fail(source_, "this is not the workbook any more that was opened; open it again");
        std::uint32_t position = 0;
        for (const Listed& listed : listed_) {
            WorkbookChanges::Listed& entry = changes_.sheets.emplace_back();
            entry.position = position;
            entry.removed = listed.worksheet && listed.sheet < 0;
            if (entry.removed) {
                removeSheet(listed);
                continue;
            }
            ++position;
            if (listed.sheet < 0) continue;
            positions_[listed.sheet] = entry.position;
            if (book_.sheetName(listed.sheet) == listed.name) continue;
            entry.newName = book_.sheetName(listed.sheet);
            listChanged_ = true;
        }
        nextPosition_ = position;
        if (!removedParts_.empty()) removeOrphans();
    }

    void removeSheet(const Listed& listed)
    {
        listChanged_ = formulasChanged_ = true;
        removedIds_.insert(lowerCase(listed.id));
        removedParts_.push_back(listed.part);
    }

    /// The inner parts that `from` leads to by way of parts that are not in `left` yet; they come into it.
    std::vector<std::string> partsFrom(std::vector<std::string> from, std::set<std::string>& left)
    {
        std::vector<std::string> found;
        while (!from.empty()) {
            const std::string part = std::move(from.back());
            from.pop_back();
            for (Relationship& r : package_.relationships(part)) {
                if (r.external || !package_.has(r.target) || !left.insert(lowerCase(r.target)).second)
                    continue;
                found.push_back(r.target);
                from.push_back(std::move(r.target));
            }
        }
        return found;
    }

    /// Tables, comments and drawings go with the sheets that alone refer to them.
    void removeOrphans()
    {
        std::set<std::string> left; // sheets that go are no way on
        for (const std::string& part : removedParts_) left.insert(lowerCase(part));
        partsFrom({""}, left);
        for (std::string& part : partsFrom(removedParts_, left)) removedParts_.push_back(std::move(part));
    }

    const Listed& listedAs(SheetIndex sheet) const
    {
        return *std::find_if(listed_.begin(), listed_.end(),
                             [&](const Listed& listed) { return listed.sheet == sheet; });
    }

    /// Puts a part of the source through an edit, unless the edit is then not `wanted`; the edit as it was at
    /// the end of the measuring.
    std::unique_ptr<EditedPart> edit(const std::string& part,
                                     std::function<std::unique_ptr<XmlEdit>()> makeEdit,
                                     const std::function<bool(const XmlEdit&)>& wanted = {})
    {
        const zip_int64_t index = zip_name_locate(reading_.get(), part.c_str(), ZIP_FL_NOCASE);
        const std::string where = source_ + ": part " + part;
        if (index < 0) throw FileError(where + ": is missing");
        const auto make = [zip = reading_.get(), where, index, makeEdit] {
            return std::make_unique<EditedPart>(zip, where, index, makeEdit());
        };
        std::unique_ptr<EditedPart> part1 = make();
        const std::uint64_t size = measured(*part1);
        if (!wanted || wanted(part1->edit())) target_.put(part, make, size);
        return part1;
    }

    void writeChanges(SheetIndex sheet)
    {
        const ChangedArea area = changedArea(book_, sheet);
        if (!area.any) return;
        changed_ = true;
        const auto done = edit(listedAs(sheet).part, [this, sheet, held = area.held] {
            return std::make_unique<SheetEdit>(book_, sheet, held, spillEntry_);
        });
        formulasChanged_ = formulasChanged_ || static_cast<const SheetEdit&>(done->edit()).formulasChanged();
    }

    /// Columns of tables get their new names, also where formulas in table parts refer to them.
    void renameColumns()
    {
        const std::vector<Table> renamedTables = book_.renamedTables();
        if (renamedTables.empty()) return;
        std::vector<RenamedColumns> renamed;
        std::vector<std::pair<std::string, std::vector<std::string>>> parts; // with their columns' names
        for (const Listed& listed : listed_) {
            if (listed.sheet < 0) continue;
            for (const Relationship& r : package_.relationships(listed.part)) {
                if (r.external || r.type != "table" || !package_.has(r.target)) continue;
                TablePart known = readTable(package_, r.target);
                known.table.area.sheet = listed.sheet;
                const auto now =
                    std::find_if(renamedTables.begin(), renamedTables.end(), [&](const Table& table) {
                        return known.sound && table.name == known.table.name &&
                               table.area == known.table.area;
                    });
                if (now != renamedTables.end()) {
                    RenamedColumns& columns = renamed.emplace_back(RenamedColumns{now->name, {}});
                    for (std::size_t i = 0; i < now->columns.size(); ++i)
                        if (known.table.columns[i] != now->columns[i])
                            columns.names.emplace_back(known.table.columns[i], now->columns[i]);
                    known.table.columns = now->columns;
                }
                parts.emplace_back(r.target, std::move(known.table.columns));
            }
        }
        for (const auto& [name, columns] : parts)
            edit(
                name, [names = columns, renamed] { return std::make_unique<TableEdit>(names, renamed); },
                [](const XmlEdit& done) { return static_cast<const TableEdit&>(done).changed(); });
    }

    std::string folder() const { return workbookPart_.substr(0, workbookPart_.rfind('/') + 1); }

    /// A part that the workbook refers to from now on; the reference's id.
    std::string addPart(const std::string& part, const char* type, const char* contentType)
    {
        std::string id;
        do id = "rId" + std::to_string(++lastId_);
        while (std::any_of(relationships_.begin(), relationships_.end(),
                           [&](const Relationship& r) { return r.id == id; }));
        addedRelationships_.push_back("Relationship Id=\"" + id + "\" Type=\"" +
                                      (strict_ ? kStrictTypes : kTypes) + type + "\" Target=\"" + part +
                                      "\"");
        addedTypes_.push_back("Override PartName=\"/" + folder() + part + "\" ContentType=\"" + contentType +
                              "\"");
        return id;
    }

    /// Finds or makes the entry by which cells say that their formulas spill, when any is to be written.
    void markSpills()
    {
        bool any = false;
        for (SheetIndex i = 0; i < book_.sheetCount() && !any; ++i)
            any = writesSpills(book_, i, book_.loadedName(i) != nullptr);
        if (!any) return;
        std::string part;
        for (const Relationship& r : relationships_)
            if (r.type == "sheetMetadata" && !r.external && package_.has(r.target)) part = r.target;
        const CellMetadata known = readCellMetadata(package_, part);
        spillEntry_ = known.spillingEntry();
        if (spillEntry_ != 0) return;
        spillEntry_ = static_cast<std::uint32_t>(known.spills.size()) + 1;
        if (known.present) {
            edit(part, [known] { return std::make_unique<MetadataEdit>(known); });
            return;
        }
        for (int n = 0; part.empty() || target_.has(folder() + part); ++n)
            part = "metadata" + (n == 0 ? std::string() : std::to_string(n)) + ".xml";
        const std::string text = spillMetadataPart(strict_);
        target_.put(
            folder() + part, [text] { return std::make_unique<FixedText>(text); }, text.size());
        addPart(part, "sheetMetadata", kMetadataType);
        listChanged_ = true;
    }

    void addSheets()
    {
        for (SheetIndex i = 0; i < book_.sheetCount(); ++i) {
            if (book_.loadedName(i)) continue;
            listChanged_ = true;
            positions_[i] = nextPosition_++;
            std::string part;
            for (int n = 1; part.empty() || target_.has(folder() + part); ++n)
                part = "worksheets/sheet" + std::to_string(n) + ".xml";
            putSheet(folder() + part, i);
            changes_.added.push_back({book_.sheetName(i), addPart(part, "worksheet", kSheetType)});
        }
    }

    void putSheet(const std::string& part, SheetIndex sheet)
    {
        const std::uint64_t size = measured(*newSheetPart(book_, sheet, spillEntry_, strict_));
        target_.put(
            part, [this, sheet] { return newSheetPart(book_, sheet, spillEntry_, strict_); }, size);
    }

    std::vector<WorkbookChanges::Name> namesOf() const
    {
        std::vector<WorkbookChanges::Name> names;
        for (NameState& state : book_.changedNames()) {
            WorkbookChanges::Name name{std::move(state.name), std::nullopt, nameFormula(book_, state)};
            if (state.scope) name.scope = positions_.at(*state.scope);
            names.push_back(std::move(name));
        }
        return names;
    }

    void writeLists()
    {
        for (const Relationship& r : relationships_) {
            if (!formulasChanged_ || r.type != "calcChain" || r.external) continue;
            removedIds_.insert(lowerCase(r.id));
            removedParts_.push_back(r.target);
        }
        edit(workbookPart_, [this] { return std::make_unique<WorkbookEdit>(changes_); });
        if (!removedIds_.empty() || !addedRelationships_.empty())
            edit(relationshipPart(workbookPart_),
                 [this] { return std::make_unique<ListEdit>("Id", removedIds_, addedRelationships_); });
        std::set<std::string> removedTypes;
        for (const std::string& part : removedParts_) {
            removedTypes.insert("/" + lowerCase(part));
            target_.remove(part);
            target_.remove(relationshipPart(part));
        }
        if ((!removedTypes.empty() || !addedTypes_.empty()) && package_.has(kContentTypes))
            edit(kContentTypes, [this, removedTypes] {
                return std::make_unique<ListEdit>("PartName", removedTypes, addedTypes_);
            });
    }

    const Book& book_;
    std::string source_;
    Package package_;
    Archive reading_;
    std::string targetPath_;
    std::string workbookPart_;
    std::vector<Relationship> relationships_;
    std::vector<Listed> listed_;
    WorkbookChanges changes_;
    std::map<SheetIndex, std::uint32_t> positions_; // of the book's sheets, among all afterwards
    std::uint32_t nextPosition_ = 0;
    std::uint32_t spillEntry_ = 0; // of the metadata part
    int lastId_ = 0;               // of the references that were added
    std::set<std::string> removedIds_;
    std::vector<std::string> removedParts_, addedRelationships_, addedTypes_;
    bool strict_ = false; // in the vocabulary of the standard's strict form
    bool changed_ = false, listChanged_ = false, formulasChanged_ = false;
    Target target_; // last: gone before what its parts read from
};

std::string styles()
{
    return std::string(kDeclaration) + "<styleSheet xmlns=\"" + kMain +
           "\"><fonts count=\"1\"><font><sz val=\"11\"/><name val=\"Calibri\"/></font></fonts>"
           "<fills count=\"2\"><fill><patternFill patternType=\"none\"/></fill>"
           "<fill><patternFill patternType=\"gray125\"/></fill></fills>"
           "<borders count=\"1\"><border><left/><right/><top/><bottom/><diagonal/></border></borders>"
           "<cellStyleXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\"/>"
           "</cellStyleXfs><cellXfs count=\"1\">"
           "<xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\"/></cellXfs>"
           "<cellStyles count=\"1\"><cellStyle name=\"Normal\" xfId=\"0\" builtinId=\"0\"/></cellStyles>"
           "</styleSheet>";
}

/// A book that came from no file. The edits that add sheets to a list make its lists, too.
void writeNew(const Book& book, const std::string& path)
{
    const std::string ending = endingOf(path);
    if (ending != ".xlsx" && ending != ".xlsm") fail(path, "the name of a workbook must end in .xlsx");
    Target target(path);
    target.create();
    const auto put = [&](const std::string& part, const std::string& text) {
        target.put(
            part, [text] { return std::make_unique<FixedText>(text); }, text.size());
    };
    const std::string mainType =
        ending == ".xlsm" ? "application/vnd.ms-excel.sheet.macroEnabled.main+xml"
                          : "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml";
    std::string types = std::string(kDeclaration) +
                        "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
                        "<Default Extension=\"rels\" ContentType=\"application/"
                        "vnd.openxmlformats-package.relationships+xml\"/>"
                        "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
                        "<Override PartName=\"/xl/workbook.xml\" ContentType=\"" +
                        mainType +
                        "\"/><Override PartName=\"/xl/styles.xml\" ContentType=\"application/"
                        "vnd.openxmlformats-officedocument.spreadsheetml.styles+xml\"/>";
    const std::string relationshipsBegin =
        std::string(kDeclaration) +
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
    std::string relationships = relationshipsBegin + "<Relationship Id=\"rId1\" Type=\"" + kTypes +
                                "styles\" Target=\"styles.xml\"/>";
    bool spills = false;
    for (SheetIndex i = 0; i < book.sheetCount(); ++i) spills = spills || writesSpills(book, i, false);
    if (spills) {
        types +=
            std::string("<Override PartName=\"/xl/metadata.xml\" ContentType=\"") + kMetadataType + "\"/>";
        relationships += "<Relationship Id=\"rId" + std::to_string(book.sheetCount() + 2) + "\" Type=\"" +
                         kTypes + "sheetMetadata\" Target=\"metadata.xml\"/>";
        put("xl/metadata.xml", spillMetadataPart(false));
    }
    std::string links;
    const std::vector<OtherBook> others = book.otherBooks();
    for (std::size_t i = 0; i < others.size(); ++i) {
        const std::string name = "externalLink" + std::to_string(i + 1) + ".xml";
        const std::string id = "rIdLink" + std::to_string(i + 1);
        types += "<Override PartName=\"/xl/externalLinks/" + name + "\" ContentType=\"" + kLinkType + "\"/>";
        relationships += "<Relationship Id=\"" + id + "\" Type=\"" + kTypes +
                         "externalLink\" Target=\"externalLinks/" + name + "\"/>";
        links += "<externalReference r:id=\"" + id + "\"/>";
        put("xl/externalLinks/" + name, externalLinkPart(others[i]));
        put("xl/externalLinks/_rels/" + name + ".rels", externalLinkRelationships(others[i]));
    }
    if (!links.empty()) links = "<externalReferences>" + links + "</externalReferences>";
    WorkbookChanges changes;
    for (SheetIndex i = 0; i < book.sheetCount(); ++i) {
        const std::string id = "rId" + std::to_string(i + 2);
        const std::string part = "worksheets/sheet" + std::to_string(i + 1) + ".xml";
        types += "<Override PartName=\"/xl/" + part + "\" ContentType=\"" + kSheetType + "\"/>";
        relationships +=
            "<Relationship Id=\"" + id + "\" Type=\"" + kTypes + "worksheet\" Target=\"" + part + "\"/>";
        changes.added.push_back({book.sheetName(i), id});
    }
    for (NameState& state : book.changedNames()) {
        std::optional<std::uint32_t> scope;
        if (state.scope) scope = static_cast<std::uint32_t>(*state.scope);
        changes.names.push_back({std::move(state.name), scope, nameFormula(book, state)});
    }
    WorkbookEdit workbook(changes);
    XmlCopier(workbook).parse(std::string(kDeclaration) + "<workbook xmlns=\"" + kMain + "\" xmlns:r=\"" +
                                  std::string(kTypes, std::strlen(kTypes) - 1) + "\"><sheets></sheets>" +
                                  links + "</workbook>",
                              true);
    put(kContentTypes, types + "</Types>");
    put("_rels/.rels", relationshipsBegin + "<Relationship Id=\"rId1\" Type=\"" + kTypes +
                           "officeDocument\" Target=\"xl/workbook.xml\"/></Relationships>");
    put("xl/workbook.xml", workbook.out);
    put("xl/_rels/workbook.xml.rels", relationships + "</Relationships>");
    put("xl/styles.xml", styles());
    for (SheetIndex i = 0; i < book.sheetCount(); ++i) {
        const std::uint64_t size = measured(*newSheetPart(book, i, 1, false));
        target.put(
            "xl/worksheets/sheet" + std::to_string(i + 1) + ".xml",
            [&book, i] { return newSheetPart(book, i, 1, false); }, size);
    }
    target.finish();
}

} // namespace

void saveWorkbook(const Book& book, const std::string& sourcePath, const std::string& targetPath)
{
    if (sourcePath.empty())
        writeNew(book, targetPath);
    else
        Update(book, sourcePath, targetPath).run();
}

} // namespace varnex3::sheet
