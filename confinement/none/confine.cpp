#include "confinement/confine.h"

namespace tagwriter {

bool confine(FileAccess) {
  return true;
}

}  // namespace tagwriter
