// Determines the type of a file by its name alone.
#pragma once

namespace tagwriter {

/// The file types that the service knows. The values are fixed; 1 is also the fallback.
enum TagFileType : unsigned {
  kTagFileMP3 = 1,
  kTagFileMP4 = 2,
  kTagFileM4P = 3,
  kTagFileFLAC = 4,
  kTagFileOgg = 5,
  kTagFileWMA = 6,
  kTagFileAIFF = 7,
  kTagFileWAV = 8,
  kTagFileAPE = 9,
  kTagFileWavPack = 10,
  kTagFileOGA = 11,
  kTagFileOpus = 12,
  kTagFileDSF = 13,
  kTagFileGameMusic = 14,
  kTagFileAC3 = 15,
  kTagFileAU = 16,
  kTagFileMPC = 17,
  kTagFileSHN = 18,
};

/// Returns the type for the extension of `path`: the text after the last "." of the last path
/// component, in any ASCII case. Returns kTagFileMP3 if the extension is unknown or missing, or
/// `path` is null. Does not access the file.
TagFileType tagFileTypeForPath(const char* path);

/// Whether `path` has the extension of a type that tags can be written to; false for a null path.
bool isWritableFileName(const char* path);

}  // namespace tagwriter
