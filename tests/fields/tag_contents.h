// Everything in the tags of a file, to be compared before and after an edit.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace tagwriter::test {

/// The values under each name, in their order. A name starts with its family ("ID3v2 TCOM",
/// "MP4 \251wrt", "Xiph TITLE", "ASF WM/Genre", "APE Album Artist"), names of the family's own kind
/// follow as they are in the file. Several frames may share an identifier; those that the ID3v2
/// standard tells apart by a language or a description have it in their name: "ID3v2 COMM:eng:",
/// "ID3v2 TXXX:CATALOGNUMBER".
///
/// A value is
///   ID3v2  the frame's body: everything behind its header
///   ID3v1  the text or number
///   MP4    the body of the item's atom: the "data" atoms with their headers, or all of a freeform
///          atom's children
///   Xiph   the text in UTF-8
///   ASF    the type, a colon and the value: "text:...", "bool:1", "dword:7"
///   APE    the type, a colon and the value: "text:..."; several values have NUL between them
///   FLAC   the body of a metadata block that is neither the comment nor padding
///   INFO   the text in UTF-8
using TagContents = std::map<std::string, std::vector<std::string>>;

/// Reads the tags of a file, whose extension tells the format; all families that are in the file.
TagContents readTagContents(const std::string& path);

/// Equality that names what differs and quotes no more of it than a reader can take in.
testing::AssertionResult sameContents(const TagContents& actual, const TagContents& expected);

}  // namespace tagwriter::test
