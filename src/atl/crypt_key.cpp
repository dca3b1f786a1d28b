// The empty key, set up at load.
#include <chronoseal/atl/crypt_key.h>

namespace ATL {

CCryptKey CCryptKey::EmptyKey;

} // namespace ATL
