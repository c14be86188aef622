// sheet/xlsx/Xml.h - streaming XML of untrusted origin: elements by namespace and local name.
//
// Document type declarations, and with them entities, are refused; nesting and the length of a single
// tag are limited. What the elements mean is the handlers' business.
#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

struct XML_ParserStruct;

namespace varnex3::sheet::xlsx {

/// An element as it opens. Valid during the call that gets it.
struct Tag {
    std::string_view space; // namespace, empty for none
    std::string_view name;  // without prefix
    int depth = 0;          // 1 for the root
    const char* const* attributes = nullptr;

    /// Value of the attribute without a prefix; null when there is none.
    const char* attribute(const char* wanted) const;
    /// Value of the attribute in the namespace `from`.
    const char* attribute(std::string_view from, std::string_view wanted) const;
    /// Value of the attribute of that local name in any namespace.
    const char* qualified(std::string_view wanted) const;
    /// Whether the element belongs to the workbook vocabulary (transitional or strict) or to none.
    bool isMain() const;
    bool isStrict() const;
    bool isMain(std::string_view wanted) const { return name == wanted && isMain(); }
};

class XmlHandler {
public:
    virtual ~XmlHandler() = default;

    /// False leaves the element out with all that it holds: no further calls for it.
    virtual bool open(const Tag& tag) = 0;
    /// The entered element at `depth` ends.
    virtual void close(int depth) = 0;
    /// A piece of the text directly inside the innermost entered element.
    virtual void text(std::string_view) {}
    /// Where reading stands, for messages: "sheet ..., cell ..."; empty when there is nothing to say.
    virtual std::string where() const { return {}; }
};

/// Why a part cannot be read; the caller adds file and part.
struct XmlProblem {
    std::string text;
};

class XmlParser {
public:
    XmlParser(XmlHandler& handler, int maxDepth);
    ~XmlParser();
    XmlParser(const XmlParser&) = delete;
    XmlParser& operator=(const XmlParser&) = delete;

    /// Room for `size` bytes, to be filled and then announced with `parse`.
    char* buffer(int size);
    /// Parses what was put into the buffer. Throws XmlProblem, or what a handler threw.
    void parse(int size, bool last);

private:
    struct Callbacks;

    XML_ParserStruct* parser_;
    XmlHandler& handler_;
    int maxDepth_;
    int depth_ = 0;
    int skipped_ = 0; // depth below the element that the handler left out, that one included
    long long fed_ = 0;
    std::exception_ptr failure_;
};

} // namespace varnex3::sheet::xlsx
