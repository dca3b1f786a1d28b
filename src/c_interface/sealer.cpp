// Sealers as handles.
#include <chronoseal/c_interface/sealer.h>

#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/options.h>
#include <chronoseal/c_interface/view.h>
#include <chronoseal/c_interface/watch.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

namespace {

// Has `ask` get a stamp, and gives it as a handle.
template <class Ask>
chronoseal_status seal(const chronoseal_sealer* sealer, const chronoseal_control* control,
                       chronoseal_stamp** stamp, chronoseal_error** error, Ask&& ask) {
    return give_new(stamp, "stamp", error, [&] {
        Watch watch(control);
        return ask(needed(sealer, "sealer").sealer, watch);
    });
}

} // namespace

chronoseal_status chronoseal_sealer_new(const chronoseal_sealer_options* options,
                                        chronoseal_sealer** sealer, chronoseal_error** error) {
    return give(sealer, "sealer", error, [&] {
        SealerOptions values = options_of(options);
        const unsigned quorum = values.quorum;
        return new chronoseal_sealer(std::move(values), quorum);
    });
}

chronoseal_status chronoseal_seal(const chronoseal_sealer* sealer, const void* data, size_t size,
                                  const chronoseal_control* control, chronoseal_stamp** stamp,
                                  chronoseal_error** error) {
    return seal(sealer, control, stamp, error, [&](const Sealer& by, Watch& watch) {
        return by.seal(needed_bytes(data, size, "data"), watch.stop());
    });
}

chronoseal_status chronoseal_seal_file(const chronoseal_sealer* sealer, const char* path,
                                       const chronoseal_control* control, chronoseal_stamp** stamp,
                                       chronoseal_error** error) {
    return seal(sealer, control, stamp, error, [&](const Sealer& by, Watch& watch) {
        return by.seal(std::filesystem::path(needed_text(path, "path")), watch.progress(),
                       watch.stop());
    });
}

chronoseal_status chronoseal_seal_digest(const chronoseal_sealer* sealer,
                                         const chronoseal_digest* digest,
                                         const chronoseal_control* control,
                                         chronoseal_stamp** stamp, chronoseal_error** error) {
    return seal(sealer, control, stamp, error, [&](const Sealer& by, Watch& watch) {
        return by.seal_digest(digest_of(digest), watch.stop());
    });
}

chronoseal_status chronoseal_seal_quorum(const chronoseal_sealer* sealer,
                                         const chronoseal_digest* digest,
                                         const chronoseal_control* control,
                                         chronoseal_stamp** stamps, size_t room, size_t* count,
                                         chronoseal_error** error) {
    return call(error, [&] {
        emptied(count, "count");
        needed(stamps, "stamps");
        std::fill_n(stamps, room, nullptr);
        const chronoseal_sealer& handle = needed(sealer, "sealer");
        if (room < handle.quorum) {
            throw Error(Category::misuse, "buffer_too_small", 0,
                        "there is no room in 'stamps' for the quorum", "give room for all stamps");
        }
        Watch watch(control);
        auto got = handle.sealer.seal_quorum(digest_of(digest), watch.stop());
        std::vector<std::unique_ptr<chronoseal_stamp>> handles;
        for (Stamp& stamp : got) {
            handles.push_back(std::make_unique<chronoseal_stamp>(std::move(stamp)));
        }
        for (std::size_t i = 0; i < handles.size() && i < room; ++i) {
            stamps[i] = handles[i].release();
            ++*count;
        }
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_send(const chronoseal_sealer* sealer, const void* request, size_t size,
                                  const chronoseal_control* control, chronoseal_stamp** stamp,
                                  chronoseal_error** error) {
    return seal(sealer, control, stamp, error, [&](const Sealer& by, Watch& watch) {
        return by.send(needed_bytes(request, size, "request"), watch.stop());
    });
}

chronoseal_status chronoseal_request(const chronoseal_sealer* sealer,
                                     const chronoseal_digest* digest, unsigned char** data,
                                     size_t* size, chronoseal_error** error) {
    return call(error, [&] {
        emptied(data, "data");
        emptied(size, "size");
        hand_over(needed(sealer, "sealer").sealer.request(digest_of(digest)), data, size);
        return CHRONOSEAL_OK;
    });
}

chronoseal_status chronoseal_sealer_hash(const chronoseal_sealer* sealer, const char** algorithm,
                                         chronoseal_error** error) {
    return give(algorithm, "algorithm", error,
                [&] { return needed(sealer, "sealer").sealer.hash().name().c_str(); });
}

chronoseal_status chronoseal_sealer_hash_file(const chronoseal_sealer* sealer, const char* path,
                                              const chronoseal_control* control,
                                              chronoseal_digest* digest, chronoseal_error** error) {
    return give(digest, "digest", error, [&] {
        Watch watch(control);
        return digest_of(
            needed(sealer, "sealer")
                .sealer.digest_of(needed_text(path, "path"), watch.progress(), watch.stop()));
    });
}

void chronoseal_sealer_free(chronoseal_sealer** sealer) {
    release(sealer);
}
