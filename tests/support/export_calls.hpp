// export_calls.hpp - one export call with everything it leaves behind (CallOn), shared by the
// model comparisons (ExpectResult, ExpectNewOrInPlace), and the refusal runner: every family's refusal table goes through
// ExpectRefusals, which calls the export on each case's source and checks the null result, the
// code where the family reports it, and that the source is left as it was.
//
// A case is any struct with `what`, `source` (bytes, or kNullHandle, or kUnlockable; none for
// exports that read files), `code` and, where the family returns with its lock held after
// some refusals, `leftLocked`; the family's own arguments ride along in the same struct.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "dib_builder.hpp"
#include "vexora.h"

namespace vxtest {

// A source handle: a block holding the bytes, a null handle, or a block that cannot be locked.
struct Source {
    enum Kind { kBytes, kNull, kUnlockable };
    Bytes bytes;
    Kind kind = kBytes;
    Source(Bytes b) : bytes(std::move(b)) {}  // NOLINT: tables list plain bytes
    Source(Kind k) : kind(k) {}               // NOLINT
};
inline const Source kNullHandle{Source::kNull}, kUnlockable{Source::kUnlockable};

// The module code before each call: a value no export stores, so that storing or clearing it
// shows; and the caller's word before each call, likewise.
constexpr int kUntouched = IMGERR_NOTHINGTODO;
constexpr DWORD kWordUntouched = 0xDEAD;

struct Outcome {
    Bytes result;  // the whole result block; empty for a null result
    int moduleCode = -1;
    bool sourceLocked = false, sourceUnchanged = true;
};

// call(handle) on the source, the module code set to kUntouched beforehand. A result that is
// the source itself (in place) is not freed twice.
template <typename Call>
Outcome CallOn(const Source& source, Call call) {
    Block in(source.kind == Source::kBytes ? BlockFrom(source.bytes)
             : source.kind == Source::kUnlockable ? GlobalAlloc(GMEM_MOVEABLE, 0)  // a discarded block
                                                  : nullptr);
    SetImgError(kUntouched);
    Block out(call(in.get()));
    Outcome o;
    o.moduleCode = ImgError();
    if (out) o.result = BlockBytes(out.get());
    if (out.get() == in.get()) (void)out.release();
    if (source.kind == Source::kBytes) {
        GlobalLock(in.get());
        while (GlobalUnlock(in.get()) != FALSE) o.sourceLocked = true;
        o.sourceUnchanged = BlockBytes(in.get()) == source.bytes;
    }
    return o;
}

// Equal blocks, or the first byte where they differ.
inline void ExpectSameBytes(const Bytes& got, const Bytes& want) {
    ASSERT_EQ(got.size(), want.size());
    const auto diff = std::mismatch(got.begin(), got.end(), want.begin()).first;
    ASSERT_TRUE(diff == got.end()) << "first difference at byte " << diff - got.begin();
}

// A success reported through the module code: the code cleared, the whole result block
// `expected`, the source unchanged and, when `keepsLock`, still locked.
template <typename Call>
void ExpectResult(const Bytes& source, const Bytes& expected, bool keepsLock, Call call) {
    const Outcome o = CallOn(source, call);
    ASSERT_EQ(o.moduleCode, IMGERR_SUCCESS);
    ASSERT_NO_FATAL_FAILURE(ExpectSameBytes(o.result, expected));
    EXPECT_TRUE(o.sourceUnchanged);
    EXPECT_EQ(o.sourceLocked, keepsLock);
}

// A success reported through the caller's word, for exports that work in place or into a new
// DIB: call(handle, &word) stores 0, returns the source handle in place, leaves the whole
// result block `expected`, and a new DIB leaves the source as it was.
template <typename Call>
void ExpectNewOrInPlace(const Bytes& src, bool newDib, const Bytes& expected, Call call) {
    DWORD error = kWordUntouched;
    const Outcome o = CallOn(src, [&](HDIB dib) { HDIB out = call(dib, &error); EXPECT_EQ(out == dib, !newDib); return out; });
    ASSERT_EQ(error, DWORD{IMGERR_SUCCESS});
    EXPECT_EQ(o.result, expected);
    EXPECT_TRUE(o.sourceUnchanged || !newDib);
}

// Where a family reports a refusal's code.
enum class Reports {
    kModuleCode,  // ImgError()
    kCallerWord,  // the word the caller passes; the module code stays as it was
    kBoth,        // the caller's word and the module code alike
};

// call(handle, case, word) for each case: null, the case's code where the family reports it,
// the source unchanged, and locked afterwards only where the case says so.
template <typename Cases, typename Call>
void ExpectRefusals(Reports where, const Cases& cases, Call call) {
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        DWORD word = kWordUntouched;
        const Source& source = [&]() -> const Source& {
            if constexpr (requires { c.source; }) return c.source;
            return kNullHandle;  // a case of files or arguments alone
        }();
        const Outcome o = CallOn(source, [&](HDIB handle) { return call(handle, c, &word); });
        EXPECT_TRUE(o.result.empty());
        EXPECT_EQ(o.moduleCode, where == Reports::kCallerWord ? kUntouched : c.code);
        if (where != Reports::kModuleCode) {
            EXPECT_EQ(word, DWORD(c.code));
        }
        bool leftLocked = false;
        if constexpr (requires { c.leftLocked; }) leftLocked = c.leftLocked;
        EXPECT_EQ(o.sourceLocked, leftLocked);
        EXPECT_TRUE(o.sourceUnchanged);
    }
}

// The plain case, for families without arguments of their own.
struct Refusal { const char* what; Source source; int code; bool leftLocked = false; };

}  // namespace vxtest
