#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tidemark {

bool isUtf8(std::string_view bytes);
/// Canonical composition. Bytes that are not UTF-8 come back as they are.
std::string toNfc(std::string_view utf8);
/// Whether canonical decomposition would spell the text differently than its canonical composition does.
bool hasDecomposedForm(std::string_view utf8);
/// Upper case folded for comparisons without regard to case.
std::string caseFold(std::string_view utf8);
/// Number of code points; bytes that are not UTF-8 count one each.
std::size_t codePointCount(std::string_view utf8);
/// The longest prefix of at most `bytes` bytes that does not cut a code point.
std::string_view utf8Prefix(std::string_view utf8, std::size_t bytes);
/// Control characters (C0, DEL, C1) and invalid bytes as \xNN, for showing names to people.
std::string escapeControls(std::string_view text);

} // namespace tidemark
