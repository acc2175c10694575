// What the service answers to a request.
#pragma once

namespace tagwriter {

struct Answer {
  bool result = false;      ///< the change was made and the save reported success
  bool incomplete = false;  ///< bytes were lost on the way to the file, whatever the result says
};

}  // namespace tagwriter
