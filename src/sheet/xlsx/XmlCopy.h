// sheet/xlsx/XmlCopy.h - copies a part and lets an edit change some of it on the way.
//
// Markup arrives as it is written in the file, so what an edit does not touch keeps every character:
// unknown elements, attributes, comments, line ends. What the elements mean is the edits' business.
#pragma once

#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sheet/xlsx/Xml.h"

namespace varnex3::sheet::xlsx {

/// A start tag as written, attribute by attribute.
class RawTag {
public:
    /// `markup` is well-formed: "<x:c r="A1" s='3'/>".
    explicit RawTag(std::string_view markup);

    const std::string& name() const { return name_; } // with prefix
    std::string prefix() const;                       // "x:", or empty
    bool isEmpty() const { return empty_; }           // "/>"
    bool has(std::string_view attribute) const;
    /// An attribute as written, with its quotes; empty when there is none.
    std::string written(std::string_view attribute) const;
    /// Replaces an attribute where it stands, or adds it at the end; escapes the value.
    void set(std::string_view attribute, std::string_view value);
    void remove(std::string_view attribute);
    /// The name of the first attribute that ends so, prefix included; empty when there is none.
    std::string attributeEndingIn(std::string_view end) const;
    std::string opening() const { return text(">"); }
    std::string closing() const { return "</" + name_ + ">"; }
    std::string alone() const { return text("/>"); }

private:
    std::string text(std::string_view end) const;

    std::string name_;
    std::vector<std::pair<std::string, std::string>> attributes_; // value with its quotes
    bool empty_ = false;
};

/// A start tag in which an attribute that it has gets another value; all else stays as it is written.
/// `value` is written as it stands: escaped already.
std::string withAttribute(std::string_view markup, std::string_view attribute, std::string_view value);

/// Gets a part piece by piece and fills `out`. Unless overridden, everything is copied.
class XmlEdit {
public:
    virtual ~XmlEdit() = default;

    virtual void open(const Tag&, std::string_view raw) { out.append(raw); }
    /// `raw` is empty where the start tag was one of an empty element.
    virtual void close(int /*depth*/, std::string_view raw) { out.append(raw); }
    /// `value` is the text that `raw` stands for.
    virtual void text(std::string_view raw, std::string_view /*value*/) { out.append(raw); }
    /// Declaration, comments, processing instructions, marks of CDATA sections.
    virtual void other(std::string_view raw) { out.append(raw); }

    std::string out;
};

/// Feeds a part to an edit. Throws XmlProblem, also for encodings other than UTF-8, or what the edit threw.
class XmlCopier {
public:
    explicit XmlCopier(XmlEdit& edit);
    ~XmlCopier();
    XmlCopier(const XmlCopier&) = delete;
    XmlCopier& operator=(const XmlCopier&) = delete;

    void parse(std::string_view piece, bool last);

private:
    struct Callbacks;

    XML_ParserStruct* parser_;
    XmlEdit& edit_;
    int depth_ = 0;
    bool begun_ = false;
    std::string* capture_ = nullptr; // where the markup of the current event goes
    std::exception_ptr failure_;
};

} // namespace varnex3::sheet::xlsx
