// The life of the trace context.
#include <chronoseal/client/trace.h>

namespace Halcyon::PKI {

constinit TSupportDbContext_* _db_ctx = nullptr;

namespace {

DbTraceInitializer log_initer("tsp", _db_ctx, 0, 127);

} // namespace

DbTraceInitializer::DbTraceInitializer(const char* module, TSupportDbContext_*& context,
                                       unsigned int level, unsigned int mask) noexcept
    : context_(&context) {
    support_print_done(context);
    context = nullptr;
    context = support_print_init(0, module, level, mask);
}

DbTraceInitializer::~DbTraceInitializer() {
    support_print_done(*context_);
    *context_ = nullptr;
}

} // namespace Halcyon::PKI
