// set_title TITLE PATH: the least that a program does to set a title with TagLib.

#include <fileref.h>
#include <tag.h>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  TagLib::FileRef file(argv[2], false);
  if (file.isNull()) return 1;
  file.tag()->setTitle(TagLib::String(argv[1], TagLib::String::UTF8));
  return file.save() ? 0 : 1;
}
