// The part of the platform's XPC interface that the service and its players use. The functions
// behave as the platform documents them; see runtime.h.
#pragma once

#include <dispatch/dispatch.h>

#include <cstddef>
#include <cstdint>

extern "C" {

typedef void* xpc_object_t;
typedef const struct _xpc_type_s* xpc_type_t;
typedef struct _xpc_connection_s* xpc_connection_t;
typedef void (^xpc_handler_t)(xpc_object_t object);
typedef void (*xpc_connection_handler_t)(xpc_connection_t connection);

struct _xpc_type_s {
  const char* name;
};
extern const struct _xpc_type_s _xpc_type_bool, _xpc_type_int64, _xpc_type_uint64, _xpc_type_double,
    _xpc_type_string, _xpc_type_data, _xpc_type_fd, _xpc_type_dictionary, _xpc_type_endpoint,
    _xpc_type_connection, _xpc_type_error;
#define XPC_TYPE_CONNECTION (&_xpc_type_connection)
#define XPC_TYPE_DICTIONARY (&_xpc_type_dictionary)
#define XPC_TYPE_ERROR (&_xpc_type_error)

xpc_object_t xpc_retain(xpc_object_t object);
void xpc_release(xpc_object_t object);
xpc_type_t xpc_get_type(xpc_object_t object);
char* xpc_copy_description(xpc_object_t object);

xpc_object_t xpc_dictionary_create(const char* const* keys, const xpc_object_t* values,
                                   std::size_t count);
xpc_object_t xpc_dictionary_create_reply(xpc_object_t original);
std::size_t xpc_dictionary_get_count(xpc_object_t dictionary);
xpc_object_t xpc_dictionary_get_value(xpc_object_t dictionary, const char* key);
xpc_object_t xpc_dictionary_get_dictionary(xpc_object_t dictionary, const char* key);
xpc_connection_t xpc_dictionary_get_remote_connection(xpc_object_t dictionary);
xpc_connection_t xpc_dictionary_create_connection(xpc_object_t dictionary, const char* key);

bool xpc_dictionary_get_bool(xpc_object_t dictionary, const char* key);
std::int64_t xpc_dictionary_get_int64(xpc_object_t dictionary, const char* key);
std::uint64_t xpc_dictionary_get_uint64(xpc_object_t dictionary, const char* key);
double xpc_dictionary_get_double(xpc_object_t dictionary, const char* key);
const char* xpc_dictionary_get_string(xpc_object_t dictionary, const char* key);
const void* xpc_dictionary_get_data(xpc_object_t dictionary, const char* key, std::size_t* size);
int xpc_dictionary_dup_fd(xpc_object_t dictionary, const char* key);

void xpc_dictionary_set_bool(xpc_object_t dictionary, const char* key, bool value);
void xpc_dictionary_set_int64(xpc_object_t dictionary, const char* key, std::int64_t value);
void xpc_dictionary_set_uint64(xpc_object_t dictionary, const char* key, std::uint64_t value);
void xpc_dictionary_set_double(xpc_object_t dictionary, const char* key, double value);
void xpc_dictionary_set_string(xpc_object_t dictionary, const char* key, const char* value);
void xpc_dictionary_set_data(xpc_object_t dictionary, const char* key, const void* bytes,
                             std::size_t size);
void xpc_dictionary_set_fd(xpc_object_t dictionary, const char* key, int fd);
void xpc_dictionary_set_value(xpc_object_t dictionary, const char* key, xpc_object_t value);
void xpc_dictionary_set_connection(xpc_object_t dictionary, const char* key,
                                   xpc_connection_t listener);

xpc_connection_t xpc_connection_create(const char* name, dispatch_queue_t queue);
void xpc_connection_set_event_handler(xpc_connection_t connection, xpc_handler_t handler);
void xpc_connection_resume(xpc_connection_t connection);
void xpc_connection_cancel(xpc_connection_t connection);
void xpc_connection_send_message(xpc_connection_t connection, xpc_object_t message);
xpc_object_t xpc_connection_send_message_with_reply_sync(xpc_connection_t connection,
                                                         xpc_object_t message);

[[noreturn]] void xpc_main(xpc_connection_handler_t handler);

}  // extern "C"
