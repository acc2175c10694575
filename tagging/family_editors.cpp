#include "tagging/family_editors.h"

#include "tagging/strings.h"

namespace tagwriter {

using TagLib::StringList;

void setMP4TextItem(TagLib::MP4::Tag& tag, const char* name, const char* value) {
  if (value) {
    tag.setItem(name, TagLib::MP4::Item(StringList(toTagString(value))));
  } else {
    tag.removeItem(name);
  }
}

void setXiphTextField(TagLib::Ogg::XiphComment& comment, const char* name, const char* value) {
  if (value) {
    comment.addField(name, toTagString(value), true);
  } else {
    comment.removeFields(name);
  }
}

void setASFTextAttribute(TagLib::ASF::Tag& tag, const char* name, const char* value) {
  if (value) {
    tag.setAttribute(name, TagLib::ASF::Attribute(toTagString(value)));
  } else {
    tag.removeItem(name);
  }
}

void setAPETextItem(TagLib::APE::Tag& tag, const char* key, const char* value) {
  if (value) {
    tag.setItem(key, TagLib::APE::Item(key, toTagString(value)));
  } else {
    tag.removeItem(key);
  }
}

}  // namespace tagwriter
