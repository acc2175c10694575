// A worker that answers true. The environment variable DAMAGE says what it does to the file;
// "leave": nothing, but each answer is its last; "hang": it overwrites the second file, and never
// answers; "spin": the same, but it is busy; "log": nothing, but it writes a million bytes to
// standard error; a key: nothing, and it answers false to changes of that field.
#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "protocol/keys.h"
#include "transport/dbus/write_server.h"

int main(int argc, char** argv) {
  using namespace tagwriter;
  const std::string option = argc > 1 ? argv[1] : "";
  const std::string damage = std::getenv("DAMAGE");
  const int socket = std::stoi(option.substr(option.find('=') + 1));
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  int requests = 0;
  const auto edit = [&](const Dictionary& request) {
    const UniqueFd file = request.duplicateDescriptor(key::kFd);
    if ((damage == "hang" || damage == "spin") && ++requests == 2) {
      (void)!::pwrite(file.get(), "no audio", 8, 0);
      while (true) damage == "spin" ? ::getppid() : ::pause();
    }
    if (damage == "truncate") return Answer{::ftruncate(file.get(), 0) == 0};
    if (damage == "overwrite") return Answer{::pwrite(file.get(), "no audio", 8, 0) == 8};
    if (damage == "log") std::fputs(std::string(1'000'000, '-').c_str(), stderr);
    const char* field = request.getString(key::kChangedTag);
    return Answer{!field || damage != field};
  };
  return dbus::serveWrites(UniqueFd(socket), edit, [&] { return damage == "leave"; });
}
