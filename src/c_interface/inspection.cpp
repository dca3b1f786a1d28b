// What bytes are, as a handle.
#include <chronoseal/c_interface/call.h>
#include <chronoseal/c_interface/view.h>

using namespace chronoseal;
using namespace chronoseal::c_interface;

static_assert(static_cast<int>(Kind::unknown) == CHRONOSEAL_KIND_UNKNOWN);
static_assert(static_cast<int>(Kind::evidence_record) == CHRONOSEAL_KIND_EVIDENCE_RECORD);
static_assert(static_cast<int>(Form::smime) == CHRONOSEAL_FORM_SMIME);

struct chronoseal_inspection {
    explicit chronoseal_inspection(Inspection found) : inspection(std::move(found)) {
        chronoseal_inspection_info view{};
        view.kind = static_cast<chronoseal_kind>(inspection.kind);
        view.kind_name = kind_name(inspection.kind).data(); // a literal
        view.form = static_cast<chronoseal_form>(inspection.form);
        view.description = kept.text(inspection.description);
        view.stamp = inspection.stamp ? handle_of(*inspection.stamp) : nullptr;
        std::vector<const chronoseal_embedded*> all;
        for (const Embedded& embedded : inspection.stamps) {
            all.push_back(kept.value(
                chronoseal_embedded{handle_of(embedded.stamp), kept.text(embedded.attribute),
                                    kept.text(embedded.place), view_of(embedded.stamped)}));
        }
        view.stamp_count = all.size();
        view.stamps = kept.array(std::move(all));
        view.countersignature = inspection.countersignature ? 1 : 0;
        view.der = view_of(inspection.der);
        std::vector<const chronoseal_unread_stamp*> unread;
        for (const UnreadStamp& one : inspection.unread) {
            reasons.emplace_back(std::make_unique<KeptError>(one.reason));
            unread.push_back(kept.value(chronoseal_unread_stamp{
                kept.text(one.attribute), kept.text(one.place), reasons.back().get()}));
        }
        view.unread_count = unread.size();
        view.unread = kept.array(std::move(unread));
        view.behind = inspection.behind;
        view.certificates_wanted = inspection.certificates_wanted ? 1 : 0;
        info = kept.value(view);
    }

    const chronoseal_stamp* handle_of(const Stamp& stamp) {
        return stamps.emplace_back(std::make_unique<chronoseal_stamp>(stamp)).get();
    }

    const Inspection inspection;
    std::vector<std::unique_ptr<chronoseal_stamp>> stamps;
    std::vector<std::unique_ptr<KeptError>> reasons;
    Kept kept;
    const chronoseal_inspection_info* info = nullptr;
};

chronoseal_status chronoseal_inspect(const void* data, size_t size,
                                     chronoseal_inspection** inspection, chronoseal_error** error) {
    return give_new(inspection, "inspection", error,
                    [&] { return inspect(needed_bytes(data, size, "data")); });
}

chronoseal_status chronoseal_inspection_get_info(const chronoseal_inspection* inspection,
                                                 const chronoseal_inspection_info** info,
                                                 chronoseal_error** error) {
    return give_info(inspection, "inspection", info, error);
}

chronoseal_status chronoseal_rewrap(const void* original, size_t original_size, const void* der,
                                    size_t der_size, unsigned char** data, size_t* size,
                                    chronoseal_error** error) {
    return call(error, [&] {
        auto& place = emptied(data, "data");
        auto& place_size = emptied(size, "size");
        hand_over(rewrap(needed_bytes(original, original_size, "original"),
                         needed_bytes(der, der_size, "der")),
                  &place, &place_size);
        return CHRONOSEAL_OK;
    });
}

void chronoseal_inspection_free(chronoseal_inspection** inspection) {
    release(inspection);
}
