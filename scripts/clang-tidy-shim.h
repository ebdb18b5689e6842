// Included first in every file that clang-tidy reads: clang 14 lacks what libstdc++ makes std::source_location of.
#pragma once

#if defined(__clang__) && __clang_major__ < 16
namespace std {

struct source_location
{
    static constexpr source_location current(const char* file = __builtin_FILE(),
                                             const char* function = __builtin_FUNCTION(),
                                             unsigned line = __builtin_LINE())
    {
        source_location here;
        here.file_ = file;
        here.function_ = function;
        here.line_ = line;
        return here;
    }
    constexpr const char* file_name() const { return file_; }
    constexpr const char* function_name() const { return function_; }
    constexpr unsigned line() const { return line_; }
    constexpr unsigned column() const { return 0; }

private:
    const char* file_ = "";
    const char* function_ = "";
    unsigned line_ = 0;
};

} // namespace std
#endif
