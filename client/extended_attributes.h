// Extended attributes of open files.
#pragma once

namespace tagwriter {

/// Makes the extended attributes of the open file `to` those of `from`, and removes others: a new
/// file may have inherited an access control list from its directory. Both are borrowed. Returns
/// false, with errno set, if that fails; some of them may have been copied then.
bool copyExtendedAttributes(int from, int to);

}  // namespace tagwriter
