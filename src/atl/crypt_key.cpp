// The empty key, set up at load.
#include "atl/crypt_key.h"

namespace ATL {

CCryptKey CCryptKey::EmptyKey;

} // namespace ATL
