// How text files are stored: UTF-8, UTF-16 and Latin-1, packed by gzip or not.
#pragma once

#include <string>
#include <string_view>

namespace vorin::toolkit {

/// True for content that begins as gzip (RFC 1952) does.
bool isGzip(std::string_view content);

/// The content of the gzip members in `content`. Throws UserError, which names the file, for what
/// is damaged or unfolds to more than decays do (a hundred times its size and 64 MB).
std::string unzipped(std::string_view content, const std::string& name);

/// The same for a bare deflate stream (RFC 1951), as zip archives hold, of at most `most` bytes.
std::string inflated(std::string_view content, std::size_t most, const std::string& name);

/// Turns the text in `content` to UTF-8 and takes a byte-order mark off. UTF-16 is known by its
/// mark, or, without one, by the zeros in every second byte; what is no UTF-8 is taken for
/// Latin-1, in which each byte is a character. Returns what it was, "UTF-16" or "Latin-1"; nothing
/// for UTF-8.
std::string_view decode(std::string& content);

}  // namespace vorin::toolkit
