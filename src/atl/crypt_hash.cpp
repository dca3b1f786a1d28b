// The empty hash, set up at load.
#include <chronoseal/atl/crypt_hash.h>

namespace ATL {

CCryptHash CCryptHash::EmptyHash;

} // namespace ATL
