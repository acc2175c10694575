// The service's answer to a request.
#pragma once

namespace tagwriter {

struct Answer {
  bool result = false;      ///< the change was made and the save reported success
  bool incomplete = false;  ///< some bytes could not be written; independent of the result
};

}  // namespace tagwriter
