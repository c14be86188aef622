// runtime/Error.h - the error in flight: one record per thread, and the signal that unwinds.
//
// The record holds number, source and description; the C++ exception carries nothing. A procedure
// that opens with a `Procedure` adds its trail line to the source as the error leaves it.
// Showing an error to the user is the business of the entry-point handler in ui/.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace varnex3 {

using Long = std::int32_t;

/// Numbers of the errors that the library itself raises. Others come from the host.
namespace errors {
inline constexpr Long InvalidCall = 5;
inline constexpr Long Overflow = 6;
inline constexpr Long OutOfMemory = 7;
inline constexpr Long Subscript = 9;
inline constexpr Long DivisionByZero = 11;
inline constexpr Long TypeMismatch = 13;
inline constexpr Long UserInterrupt = 18;
inline constexpr Long Internal = 51;
inline constexpr Long ObjectNotSet = 91;
inline constexpr Long ReadOnly = 383;
inline constexpr Long WriteOnly = 394;
inline constexpr Long CannotCreate = 429;
inline constexpr Long NoSuchMember = 438;
inline constexpr Long ArgumentMissing = 448; // what stands for an omitted argument; never raised
inline constexpr Long ArgumentNotOptional = 449;
inline constexpr Long ArgumentCount = 450;
inline constexpr Long ReferenceOnly = 451; // a property that takes only objects was given a value
inline constexpr Long DuplicateKey = 457;
inline constexpr Long CellError = 513;
inline constexpr Long NonNumericCell = 515;
inline constexpr Long NegativeCell = 517;
inline constexpr Long EvaluationFailed = 519;
inline constexpr Long HostFailure = 1004; // a request that the host refuses
} // namespace errors

struct ErrorRecord {
    Long number = 0;         // 0: no error in flight
    std::string source;      // where it was raised, then one trail line per procedure left
    std::string description; // what went wrong, without a full stop
};

/// The record of this thread. Valid while an error is in flight, and until `caught()`.
ErrorRecord& err();

/// The signal that unwinds the stack; everything worth knowing is in `err()`.
class Raised {};

/// The runtime's own text for one of its error numbers; "Application-defined or object-defined error"
/// for a number it does not know.
std::string standardText(Long number);

/// The source that the runtime's own errors carry.
inline constexpr const char* kRuntimeSource = "varnex3";

/// Starts an error: fills the record and throws `Raised`.
[[noreturn]] void raise(Long number, std::string source, std::string description);

/// Starts one of the runtime's own errors (6, 9, 13 and so on) with its standard source and text.
[[noreturn]] void raise(Long number);

/// Ends an error: clears the record. Every handler that does not throw on begins with it.
void caught();

/// Turns the C++ exception being handled into the record when it is not `Raised` already:
/// memory exhaustion becomes 7, anything else 51 with the exception's text. Call inside a catch block.
void adoptForeignException();

/// Runs `work`; true when it raised nothing. Never raises itself and leaves no error behind.
template <class F>
bool attempt(F&& work)
{
    try {
        std::forward<F>(work)();
        return true;
    } catch (...) {
        caught();
        return false;
    }
}

/// `attempt` for handlers: the error in flight stays as it was, whatever becomes of `work`.
template <class F>
bool attemptInHandler(F&& work)
{
    ErrorRecord inFlight = err();
    const bool ok = attempt(std::forward<F>(work));
    err() = std::move(inFlight);
    return ok;
}

/// Marks a procedure that has an error handler. When an error leaves the scope, the destructor appends
/// "in varnex3.<module>.<name> at line <n>" on a line of its own to the error's source, n being the last
/// `at`, or 0. Texts must be literals: only the pointers are kept.
class Procedure {
public:
    Procedure(const char* module, const char* name) noexcept;
    ~Procedure();
    Procedure(const Procedure&) = delete;
    Procedure& operator=(const Procedure&) = delete;

    void at(int line) noexcept { line_ = line; }

    /// The trail line, without the line break before it.
    std::string trail() const;

private:
    const char* module_;
    const char* name_;
    int line_ = 0;
    int unwinding_; // exceptions in flight when the procedure began
};

} // namespace varnex3
