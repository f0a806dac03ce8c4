// dialog_strings.cpp - the string calls of the dialogs and the print job: wsprintfA, lstrcpyA,
// lstrcpynA, lstrcmpiA and lstrlenA.
//
// wsprintfA formats as Windows' USER does, which is not printf. A conversion is '%', then
// at most one each of '-', '#', '0' in exactly that order, a width, '.' and a precision, one
// size letter (l, h, w, I64, I32), and a type: c C d i u x X p s S. Anything else in the type's
// place is written out as itself, after the padding of a right-aligned width, and takes no
// argument ("%+d" gives "+d"). Numbers are 32 bits
// unless I64 says 64 (%p is the pointer in 16 upper-case hex digits); 'l' and 'h' change nothing
// for them. Widths and precisions count the sign but not the "0x" that '#' puts before a hex
// number; the precision of a number is its minimum digit count, the zero padding of '0' fills
// the precision up to the width, and '-' beats '0'. A null string prints "(null)". Wide
// characters and strings (%lc %C %ls %S) are read as 16-bit units; those beyond Latin-1 print
// as '?'. The output stops at 1023 characters plus the terminator, and a result that fills them
// answers 1024, both as Windows does.
//
// lstrcpyA and lstrcpynA answer NULL, writing nothing, for a null pointer, as Wine answers
// where Windows would fault; lstrcmpiA orders a null string before any other, two nulls equal;
// lstrlenA of null is 0.
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "platform/posix/dialog_manager.hpp"

namespace vx::posix::user {
namespace {

constexpr int kLimit = 1024;  // characters of output, terminator included

enum class Type { Char, WideChar, String, WideString, Signed, Unsigned, Hex, Unknown };

struct Conversion {
    bool left = false, prefix = false, zero = false, upper = false, wide64 = false, pointer = false;
    int width = 0, precision = 0;
    Type type = Type::Unknown;
};

int Digits(const char*& p) {
    long long value = 0;
    for (; *p >= '0' && *p <= '9'; ++p)
        if (value < kLimit * 16) value = value * 10 + (*p - '0');
    return static_cast<int>(value);
}

// Reads one conversion after its '%'; leaves p on the type character, or on the character
// to print as it is when the type is unknown.
Conversion Parse(const char*& p) {
    Conversion conversion;
    if (*p == '-') conversion.left = true, ++p;
    if (*p == '#') conversion.prefix = true, ++p;
    if (*p == '0') conversion.zero = true, ++p;
    conversion.width = Digits(p);
    if (*p == '.') conversion.precision = Digits(++p);
    bool longSize = false, shortSize = false, wideSize = false;
    if (*p == 'l') longSize = true, ++p;
    else if (*p == 'h') shortSize = true, ++p;
    else if (*p == 'w') wideSize = true, ++p;
    else if (*p == 'I' && p[1] == '6' && p[2] == '4') conversion.wide64 = true, p += 3;
    else if (*p == 'I' && p[1] == '3' && p[2] == '2') p += 3;
    switch (*p) {
        case 'c': conversion.type = longSize ? Type::WideChar : Type::Char; break;
        case 'C': conversion.type = shortSize ? Type::Char : Type::WideChar; break;
        case 'd':
        case 'i': conversion.type = Type::Signed; break;
        case 's': conversion.type = longSize || wideSize ? Type::WideString : Type::String; break;
        case 'S': conversion.type = shortSize || wideSize ? Type::String : Type::WideString; break;
        case 'u': conversion.type = Type::Unsigned; break;
        case 'p':
            conversion.width = 2 * static_cast<int>(sizeof(void*));
            conversion.zero = conversion.pointer = conversion.upper = true;
            conversion.type = Type::Hex;
            break;
        case 'X': conversion.upper = true; conversion.type = Type::Hex; break;
        case 'x': conversion.type = Type::Hex; break;
        default: conversion.type = Type::Unknown; break;
    }
    return conversion;
}

char Narrow(uint16_t unit) { return unit < 256 ? static_cast<char>(unit) : '?'; }

class Output {
public:
    explicit Output(char* buffer) : buffer_(buffer) {}
    void put(char c) {
        if (count_ < kLimit - 1) buffer_[count_++] = c;
    }
    void repeat(char c, int times) {
        for (int i = 0; i < times; ++i) put(c);
    }
    int room() const { return kLimit - 1 - count_; }
    int finish() {
        buffer_[count_] = '\0';
        return count_ >= kLimit - 1 ? kLimit : count_;
    }

private:
    char* buffer_;
    int count_ = 0;
};

void Format(Output& out, const char* format, va_list args) {
    for (const char* p = format; *p != '\0' && out.room() > 0; ++p) {
        if (*p != '%') {
            out.put(*p);
            continue;
        }
        if (*++p == '%') {
            out.put('%');
            continue;
        }
        if (*p == '\0') break;
        Conversion conversion = Parse(p);
        const int room = out.room();
        if (conversion.left) conversion.zero = false;
        if (conversion.width > room) conversion.width = room;
        if (conversion.type == Type::Unknown) {  // its padding still goes out, then the character
            if (!conversion.left) out.repeat(' ', conversion.width - conversion.precision);
            out.put(*p);
            continue;
        }
        char number[24] = {};
        char text[2] = {};
        const char* string = nullptr;
        const uint16_t* wide = nullptr;
        int length = 0;
        switch (conversion.type) {
            case Type::Char: text[0] = static_cast<char>(va_arg(args, int)); string = text; length = 1; break;
            case Type::WideChar: text[0] = Narrow(static_cast<uint16_t>(va_arg(args, int))); string = text; length = 1; break;
            case Type::String:
            case Type::WideString: {
                if (conversion.type == Type::String) string = va_arg(args, const char*);
                else wide = va_arg(args, const uint16_t*);
                if (string == nullptr && wide == nullptr) string = "(null)";
                while ((conversion.precision == 0 || length < conversion.precision) &&
                       (string != nullptr ? string[length] != '\0' : wide[length] != 0))
                    ++length;
                if (length > room) length = room;
                break;
            }
            default: {
                long long value = 0;
                if (conversion.pointer) value = static_cast<long long>(va_arg(args, intptr_t));
                else if (conversion.wide64) value = va_arg(args, long long);
                else value = va_arg(args, int);
                const bool narrow = !conversion.pointer && !conversion.wide64;
                const auto bits = narrow ? static_cast<unsigned long long>(static_cast<uint32_t>(value))
                                         : static_cast<unsigned long long>(value);
                if (conversion.type == Type::Signed) length = std::snprintf(number, sizeof number, "%lld", value);
                else if (conversion.type == Type::Unsigned) length = std::snprintf(number, sizeof number, "%llu", bits);
                else length = std::snprintf(number, sizeof number, conversion.upper ? "%llX" : "%llx", bits);
                if (length > room) length = room;
                if (conversion.precision < length) conversion.precision = length;
                if (conversion.precision > room) conversion.precision = room;
                if (conversion.zero && conversion.width > conversion.precision) conversion.precision = conversion.width;
                if (conversion.prefix) length += 2;
                break;
            }
        }
        const bool isNumber = conversion.type == Type::Signed || conversion.type == Type::Unsigned || conversion.type == Type::Hex;
        if (!isNumber) conversion.precision = length;
        if (!conversion.left) out.repeat(' ', conversion.width - conversion.precision);
        if (!isNumber) {
            for (int i = 0; i < length; ++i) out.put(string != nullptr ? string[i] : Narrow(wide[i]));
        } else {
            int sign = 0;
            if (conversion.type == Type::Hex && conversion.prefix && out.room() > 2) {
                out.put('0');
                out.put(conversion.upper ? 'X' : 'x');
                length -= 2;
            }
            if (conversion.type != Type::Unsigned && number[0] == '-') {
                out.put('-');
                sign = 1;
            }
            out.repeat('0', conversion.precision - length);
            // '#' on a decimal number counts two characters it never writes: what follows the
            // digits in the number's buffer (its terminator and zeros) goes out in their place.
            for (int i = sign; i < length; ++i) out.put(number[i]);
        }
        if (conversion.left) out.repeat(' ', conversion.width - conversion.precision);
    }
}

}  // namespace
}  // namespace vx::posix::user

extern "C" {

VXPLATFORMAPI int wsprintfA(LPSTR buffer, LPCSTR format, ...) {
    if (buffer == nullptr || format == nullptr) return 0;
    va_list args;
    va_start(args, format);
    vx::posix::user::Output out(buffer);
    vx::posix::user::Format(out, format, args);
    va_end(args);
    return out.finish();
}

VXPLATFORMAPI LPSTR lstrcpyA(LPSTR destination, LPCSTR source) {
    if (destination == nullptr || source == nullptr) return nullptr;
    return std::strcpy(destination, source);
}

VXPLATFORMAPI LPSTR lstrcpynA(LPSTR destination, LPCSTR source, int size) {
    if (destination == nullptr || source == nullptr) return nullptr;
    if (size < 1) return destination;
    int i = 0;
    for (; i < size - 1 && source[i] != '\0'; ++i) destination[i] = source[i];
    destination[i] = '\0';
    return destination;
}

VXPLATFORMAPI int lstrcmpiA(LPCSTR a, LPCSTR b) {
    if (a == nullptr || b == nullptr) return a == b ? 0 : (a == nullptr ? -1 : 1);
    return vx::posix::user::CompareNoCase(a, b);
}

VXPLATFORMAPI int lstrlenA(LPCSTR text) { return text != nullptr ? static_cast<int>(std::strlen(text)) : 0; }

}  // extern "C"
