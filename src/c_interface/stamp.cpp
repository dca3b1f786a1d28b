// Stamps as handles.
#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/view.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

chronoseal_status chronoseal_stamp_read(const void* data, size_t size, chronoseal_stamp** stamp,
                                        chronoseal_error** error) {
    return give_new(stamp, "stamp", error,
                    [&] { return Stamp::read(needed_bytes(data, size, "data")); });
}

chronoseal_status chronoseal_stamp_read_file(const char* path, chronoseal_stamp** stamp,
                                             chronoseal_error** error) {
    return give_new(stamp, "stamp", error,
                    [&] { return Stamp::read_file(needed_text(path, "path")); });
}

chronoseal_status chronoseal_stamp_copy(const chronoseal_stamp* stamp, chronoseal_stamp** copy,
                                        chronoseal_error** error) {
    return give_new(copy, "copy", error, [&] { return needed(stamp, "stamp").stamp; });
}

chronoseal_status chronoseal_stamp_get_info(const chronoseal_stamp* stamp,
                                            const chronoseal_stamp_info** info,
                                            chronoseal_error** error) {
    return give(info, "info", error, [&] {
        const chronoseal_stamp& handle = needed(stamp, "stamp");
        handle.once([&] { handle.info = view_of(handle.kept, handle.stamp); });
        return handle.info;
    });
}

chronoseal_status chronoseal_stamp_token(const chronoseal_stamp* stamp, chronoseal_bytes* token,
                                         chronoseal_error** error) {
    return give(token, "token", error,
                [&] { return view_of(needed(stamp, "stamp").stamp.token()); });
}

chronoseal_status chronoseal_stamp_response(const chronoseal_stamp* stamp,
                                            chronoseal_bytes* response, chronoseal_error** error) {
    return give(response, "response", error,
                [&] { return view_of(needed(stamp, "stamp").stamp.response()); });
}

chronoseal_status chronoseal_stamp_as_response(const chronoseal_stamp* stamp, unsigned char** data,
                                               size_t* size, chronoseal_error** error) {
    return call(error, [&] {
        emptied(data, "data");
        emptied(size, "size");
        hand_over(needed(stamp, "stamp").stamp.as_response(), data, size);
        return CHRONOSEAL_OK;
    });
}

void chronoseal_stamp_free(chronoseal_stamp** stamp) {
    release(stamp);
}
