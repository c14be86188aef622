// runtime/Variant.cpp - the runtime's questions about values, and its conversions.
#include "runtime/Variant.h"

#include "runtime/Number.h"

namespace varnex3 {

bool isNumeric(const Variant& v)
{
    return std::visit(overloaded{
                          [](Empty) { return true; }, // counts as 0
                          [](double) { return true; },
                          [](bool) { return true; },
                          [](const std::string& text) { return parseNumber(text).has_value(); },
                          [](const auto&) { return false; },
                      },
                      v.held());
}

bool isEmptyText(const Variant& v)
{
    const std::string* text = v.asText();
    return v.isEmpty() || (text && text->empty());
}

double toDouble(const Variant& v)
{
    if (const double* number = v.asNumber()) return *number;
    return std::visit(overloaded{
                          [](Empty) { return 0.0; },
                          [](double x) { return x; },
                          [](bool b) { return b ? -1.0 : 0.0; },
                          [](const std::string& text) {
                              const auto x = parseNumber(text);
                              if (!x) raise(errors::TypeMismatch);
                              return *x;
                          },
                          [](const auto&) -> double { raise(errors::TypeMismatch); },
                      },
                      v.held());
}

Long toLong(const Variant& v) { return toLong(toDouble(v)); }

std::string toText(const Variant& v)
{
    return std::visit(overloaded{
                          [](Empty) { return std::string(); },
                          [](double x) { return toText(x); },
                          [](bool b) { return toText(b); },
                          [](const std::string& text) { return text; },
                          [](const auto&) -> std::string { raise(errors::TypeMismatch); },
                      },
                      v.held());
}

} // namespace varnex3
