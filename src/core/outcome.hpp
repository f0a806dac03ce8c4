// outcome.hpp - Outcome, Fail, CheckSequence, the report channels (Silent, ModuleCode,
// CallerCell with CallerWord32, CallerCell16 and StatusOut, NegativeResult, ResultCode, Both)
// and RunExport: how every export of the library ends, and through what it says why.
//
// The body of an export is written once, as a function that returns an Outcome<T>: either its
// result, or a refusal made with Fail(code). The body never writes an error code itself. Where
// the code goes is declared by the export, once, as the channel it hands to RunExport:
//   - Silent: nowhere; the export only returns its failure value (null, FALSE, 0);
//   - ModuleCode: the library-wide code of SetImgError, stored without its range test (some
//     operations store values beyond the message table), optionally cleared on entry;
//   - CallerCell<Word>: a cell the caller passes, of the width its family has always used:
//     CallerWord32 (a DWORD), CallerCell16 (a WORD), StatusOut (an int). A null cell hears
//     nothing, unless the channel is `required`, when a null cell ends the export at once with
//     its failure value; `onEntry` is written to the cell before the body runs;
//   - NegativeResult: the export's failure value is a fixed negative number (-1);
//   - ResultCode: the failure value is the code itself (families whose result is a status);
//   - Both<First, Second>: the code goes to both; the first names the out-of-memory code, and
//     whichever of the two decides a failure value (NegativeResult, ResultCode) decides it.
// Fail() without a code refuses without reporting anything, for the paths where an export has
// always failed quietly although it reports elsewhere.
//
// RunExport is the one place where the C interface meets C++ failure: it makes the entry
// writes, runs the body, reports a refusal, and catches every exception the body lets out
// (std::bad_alloc from a container, in practice) and turns it into the channel's out-of-memory
// refusal, so that no exception ever crosses into the caller. Resources the body holds (locks,
// blocks being built) are released by their guards before the code is reported; a body that
// must leave a lock in place on failure says so with keepLocked() before it returns.
//
// CheckSequence serves checks made in one fixed order where the first that fails decides the
// code: later conditions are still evaluated (on fields that read as zero) but ignored.
//
// A channel is any type with `bool enter() const` (the entry writes; false ends the export at
// once), `void report(int code) const` (never given kNoCode) and an `int outOfMemory` member;
// it may add `template <typename T> T refusedResult(int code) const` to decide the failure
// value, which is otherwise T{}.
#pragma once

#include <climits>
#include <optional>
#include <type_traits>
#include <utility>

#include "vexora.h"

#include "errors.hpp"

namespace vx {

// The code of a refusal that no channel hears about.
inline constexpr int kNoCode = INT_MIN;

// Why an export gives up: the code its channel reports (an IMGERR_ code, or a family's own).
struct Refusal {
    int code = kNoCode;
};

[[nodiscard]] constexpr Refusal Fail(int code = kNoCode) noexcept { return Refusal{code}; }

// The result of an export's body, or its refusal.
template <typename T>
class [[nodiscard]] Outcome {
public:
    using value_type = T;

    Outcome(T value) : value_(std::move(value)) {}
    Outcome(Refusal refusal) noexcept : code_(refusal.code) {}

    // True when the body produced its result.
    explicit operator bool() const noexcept { return value_.has_value(); }
    T& operator*() { return *value_; }
    const T& operator*() const { return *value_; }
    T* operator->() { return &*value_; }
    const T* operator->() const { return &*value_; }
    Refusal refusal() const noexcept { return Refusal{code_}; }

private:
    std::optional<T> value_;
    int code_ = kNoCode;
};

// A check, or a body with no result: passed (`return {};`) or refused.
template <>
class [[nodiscard]] Outcome<void> {
public:
    using value_type = void;

    Outcome() noexcept = default;
    Outcome(Refusal refusal) noexcept : refused_(true), code_(refusal.code) {}

    explicit operator bool() const noexcept { return !refused_; }
    Refusal refusal() const noexcept { return Refusal{code_}; }

private:
    bool refused_ = false;
    int code_ = kNoCode;
};

// Checks in a fixed order; the first that fails decides the code.
class CheckSequence {
public:
    CheckSequence& require(bool ok, int code) noexcept {
        if (passed_ && !ok) {
            passed_ = false;
            code_ = code;
        }
        return *this;
    }
    bool passed() const noexcept { return passed_; }
    Refusal refusal() const noexcept { return Refusal{code_}; }

private:
    bool passed_ = true;
    int code_ = kNoCode;
};

// ---- channels --------------------------------------------------------------------------------

struct Silent {
    int outOfMemory = kNoCode;
    bool enter() const noexcept { return true; }
    void report(int) const noexcept {}
};

struct ModuleCode {
    bool clearedOnEntry = false;
    int outOfMemory = IMGERR_NOMEMORY;
    bool enter() const noexcept {
        if (clearedOnEntry) SetModuleError(IMGERR_SUCCESS);
        return true;
    }
    void report(int code) const noexcept { SetModuleError(code); }
};

template <typename Word>
struct CallerCell {
    Word* cell = nullptr;
    int onEntry = kNoCode;  // written to the cell before the body runs, unless kNoCode
    bool required = false;  // a null cell ends the export at once with its failure value
    int outOfMemory = IMGERR_NOMEMORY;
    bool enter() const noexcept {
        if (cell == nullptr) return !required;
        if (onEntry != kNoCode) *cell = static_cast<Word>(onEntry);
        return true;
    }
    void report(int code) const noexcept {
        if (cell != nullptr) *cell = static_cast<Word>(code);
    }
};
using CallerWord32 = CallerCell<DWORD>;
using CallerCell16 = CallerCell<WORD>;
using StatusOut = CallerCell<int>;

struct NegativeResult {
    int value = -1;
    int outOfMemory = kNoCode;
    bool enter() const noexcept { return true; }
    void report(int) const noexcept {}
    template <typename T>
    T refusedResult(int) const noexcept {
        return static_cast<T>(value);
    }
};

struct ResultCode {
    int outOfMemory = IMGERR_NOMEMORY;
    bool enter() const noexcept { return true; }
    void report(int) const noexcept {}
    template <typename T>
    T refusedResult(int code) const noexcept {
        return static_cast<T>(code);
    }
};

// The failure value `channel` gives for a refusal with `code`.
template <typename T, typename Channel>
T RefusedResult(const Channel& channel, int code) noexcept {
    if constexpr (requires { channel.template refusedResult<T>(code); })
        return channel.template refusedResult<T>(code);
    else
        return T{};
}

template <typename First, typename Second>
struct Both {
    First first;
    Second second;
    int outOfMemory;
    Both(First a, Second b) : first(a), second(b), outOfMemory(a.outOfMemory) {}
    bool enter() const noexcept { return first.enter() && second.enter(); }
    void report(int code) const noexcept {
        first.report(code);
        second.report(code);
    }
    template <typename T>
    T refusedResult(int code) const noexcept {
        if constexpr (requires { second.template refusedResult<T>(code); }) return RefusedResult<T>(second, code);
        else return RefusedResult<T>(first, code);
    }
};

// ---- the runner ------------------------------------------------------------------------------

// Runs an export's body under its channel; see the top of this file.
template <typename Channel, typename Body>
auto RunExport(const Channel& channel, Body&& body) noexcept -> typename std::invoke_result_t<Body&>::value_type {
    using Result = typename std::invoke_result_t<Body&>::value_type;
    const auto refused = [&channel](int code) noexcept -> Result {
        if (code != kNoCode) channel.report(code);
        if constexpr (!std::is_void_v<Result>) return RefusedResult<Result>(channel, code);
    };
    try {
        if (!channel.enter()) return refused(kNoCode);
        auto outcome = body();
        if (!outcome) return refused(outcome.refusal().code);
        if constexpr (!std::is_void_v<Result>) return std::move(*outcome);
    } catch (...) {
        return refused(channel.outOfMemory);
    }
}

}  // namespace vx
