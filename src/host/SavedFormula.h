// host/SavedFormula.h - what an input cell holds, kept while trial numbers stand in it.
#pragma once

#include <optional>
#include <string>

#include "host/interface/Host.h"

namespace varnex3 {

/// Refers to the cell. Nothing happens on destruction: the callers' steps say when the content goes back.
class SavedFormula {
public:
    explicit SavedFormula(host::Range& cell) : cell_(cell) {}

    void save() { content_ = cell_.Formula(); }
    bool saved() const { return content_.has_value(); }

    /// Writes the content back; nothing when none was saved.
    void putBack()
    {
        if (content_) cell_.Formula(*content_);
    }
    /// The same inside a handler: the error in flight stays as it was, even when the host refuses.
    void putBackInHandler()
    {
        attemptInHandler([&] { putBack(); });
    }

    host::Range& cell() const { return cell_; }

private:
    host::Range& cell_;
    std::optional<std::string> content_; // formula text with its "=", or the constant
};

} // namespace varnex3
