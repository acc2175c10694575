#include "transport/dbus/write_properties.h"

#include "protocol/fields.h"
#include "transport/dbus/names.h"

namespace tagwriter::dbus {
namespace {

constexpr const char* typeOf(field::Type type) {
  switch (type) {
    case field::Type::kString:
      return "s";
    case field::Type::kInt64:
      return "x";
    case field::Type::kDouble:
      return "d";
    case field::Type::kBool:
      return "b";
  }
  return "";
}

int getVersion(sd_bus* /*bus*/, const char* /*object*/, const char* /*interface*/,
               const char* /*property*/, sd_bus_message* reply, void* /*userdata*/,
               sd_bus_error* /*error*/) {
  return sd_bus_message_append(reply, "s", TAGWRITER_VERSION);
}

int getFields(sd_bus* /*bus*/, const char* /*object*/, const char* /*interface*/,
              const char* /*property*/, sd_bus_message* reply, void* /*userdata*/,
              sd_bus_error* /*error*/) {
  int r = sd_bus_message_open_container(reply, SD_BUS_TYPE_ARRAY, "{ss}");
  for (const field::Field& field : field::kAll) {
    if (r < 0) return r;
    r = sd_bus_message_append(reply, "{ss}", field.key, typeOf(field.type));
  }
  return r < 0 ? r : sd_bus_message_close_container(reply);
}

constexpr sd_bus_vtable kVtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_PROPERTY("Version", "s", getVersion, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("Fields", "a{ss}", getFields, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_VTABLE_END,
};

}  // namespace

int addWriteProperties(sd_bus* bus) {
  return sd_bus_add_object_vtable(bus, nullptr, kWriteObject, kWriteInterface, kVtable, nullptr);
}

}  // namespace tagwriter::dbus
