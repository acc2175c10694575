// The service's adapters to XPC and dispatch, without a connection.
#include <gtest/gtest.h>

#include <unistd.h>
#include <functional>
#include <stdexcept>

#include "service/serial_queue.h"
#include "tests/transport/xpc/player.h"
#include "tests/transport/xpc/runtime/runtime.h"
#include "transport/xpc/dictionary.h"

namespace tagwriter::test {
namespace {

TEST(XpcDictionary, ReturnsAValueOfTheRightTypeOnly) {
  const ObjectHandle nested = newDictionary();
  xpc_dictionary_set_int64(nested.get(), "number", 3);
  const ObjectHandle all = newDictionary();
  xpc_dictionary_set_string(all.get(), "string", "S\xc3\xbc\xc3\x9f");
  xpc_dictionary_set_int64(all.get(), "int64", INT64_MIN);
  xpc_dictionary_set_uint64(all.get(), "uint64", UINT64_MAX);
  xpc_dictionary_set_double(all.get(), "double", 3.5);
  xpc_dictionary_set_bool(all.get(), "bool", true);
  xpc_dictionary_set_data(all.get(), "data", "\0\xff", 2);
  xpc_dictionary_set_data(all.get(), "empty data", "", 0);
  xpc_dictionary_set_fd(all.get(), "fd", STDIN_FILENO);
  xpc_dictionary_set_value(all.get(), "dictionary", nested.get());
  {
    const Listener listener(ignoreEvents);
    xpc_dictionary_set_connection(all.get(), "connection", listener.get());

    const xpc::MessageDictionary dictionary(all.get());
    for (const std::string key : {"string", "int64", "uint64", "double", "bool", "data",
                                  "empty data", "fd", "dictionary", "connection", "missing"}) {
      SCOPED_TRACE(key);
      EXPECT_STREQ(dictionary.getString(key.c_str()),
                   key == "string" ? "S\xc3\xbc\xc3\x9f" : nullptr);
      EXPECT_EQ(dictionary.getInt64(key.c_str()), key == "int64" ? INT64_MIN : 0);
      EXPECT_EQ(dictionary.getDouble(key.c_str()), key == "double" ? 3.5 : 0.0);
      EXPECT_EQ(dictionary.getBool(key.c_str()), key == "bool");
      const auto data = dictionary.getData(key.c_str());
      EXPECT_EQ(data.has_value(), key.ends_with("data"));
      EXPECT_EQ(data ? data->size() : 2, key == "empty data" ? 0u : 2u);
      const Dictionary* inner = dictionary.getDictionary(key.c_str());
      EXPECT_EQ(inner ? inner->getInt64("number") : 0, key == "dictionary" ? 3 : 0);
      EXPECT_EQ(static_cast<bool>(dictionary.duplicateDescriptor(key.c_str())), key == "fd");
      EXPECT_EQ(dictionary.createTruncationConnection(key.c_str()) != nullptr, key == "connection");
    }
    EXPECT_EQ(dictionary.getData("data")->data(),
              xpc_dictionary_get_data(all.get(), "data", nullptr))
        << "the bytes are borrowed, not copied";
  }
  runtime::waitUntilIdle();
}

TEST(DispatchQueue, PassesExceptionsToTheCallerAndContinues) {
  SerialQueue queue("label");
  EXPECT_THROW(queue.runAndWait([] { throw std::runtime_error("broken"); }), std::runtime_error);
  std::uint64_t waiting = 0;
  queue.runAndWait([&] { waiting = queue.waiting(); });
  EXPECT_EQ(waiting, 1u);
  EXPECT_EQ(queue.waiting(), 0u);
  EXPECT_EQ(runtime::queues().back().label, "label");
}

}  // namespace
}  // namespace tagwriter::test
