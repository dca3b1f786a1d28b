/* Gets a verified time-stamp for a file, stores it, and reads and verifies what was stored, in C:
   stamp_in_c FILE URL OUT ROOTS.pem */
#include <stdio.h>

#include <chronoseal/chronoseal.h>

static int store(const char* path, const chronoseal_stamp* stamp, chronoseal_error** error) {
    chronoseal_bytes response;
    FILE* out;
    size_t written;
    if (chronoseal_stamp_response(stamp, &response, error) != CHRONOSEAL_OK) {
        return 0;
    }
    out = fopen(path, "wb");
    if (out == NULL) {
        return 0;
    }
    written = fwrite(response.data, 1, response.size, out);
    return fclose(out) == 0 && written == response.size;
}

static void print_findings(const chronoseal_verdict* verdict) {
    static const char* const outcomes[] = {"passed", "FAILED", "not done"};
    size_t i;
    for (i = 0; verdict != NULL && i < CHRONOSEAL_CHECKS; ++i) {
        const chronoseal_finding* finding;
        if (chronoseal_verdict_finding(verdict, i, &finding, NULL) == CHRONOSEAL_OK) {
            printf("%-13s %-9s %s\n", finding->name, outcomes[finding->outcome], finding->text);
        }
    }
}

int main(int argc, char** argv) {
    chronoseal_error* error = NULL;
    chronoseal_sealer* sealer = NULL;
    chronoseal_verifier* verifier = NULL;
    chronoseal_stamp* stamp = NULL;
    chronoseal_stamp* stored = NULL;
    chronoseal_verdict* verdict = NULL;
    const chronoseal_stamp_info* info;
    chronoseal_status status;

    if (argc != 5) {
        fprintf(stderr, "usage: stamp_in_c FILE URL OUT ROOTS.pem\n");
        return CHRONOSEAL_MISUSE;
    }
    const chronoseal_source root = {.path = argv[4]};
    const chronoseal_trust trust = {.size = sizeof trust, .roots = &root, .root_count = 1};
    const chronoseal_sealer_options options = {
        .size = sizeof options, .url = argv[2], .trust = &trust};

    /* A stamp is given only after every check has passed. */
    if ((status = chronoseal_sealer_new(&options, &sealer, &error)) == CHRONOSEAL_OK &&
        (status = chronoseal_seal_file(sealer, argv[1], NULL, &stamp, &error)) == CHRONOSEAL_OK &&
        (status = chronoseal_stamp_get_info(stamp, &info, &error)) == CHRONOSEAL_OK) {
        printf("stamped at %s\n", info->token->time_text);
        if (!store(argv[3], stamp, &error)) {
            fprintf(stderr, "can't write %s\n", argv[3]);
            status = CHRONOSEAL_UNREACHABLE;
        }
    }
    /* Later, with the file and the stored stamp: CHRONOSEAL_OK stands for a good one alone. */
    if (status == CHRONOSEAL_OK &&
        (status = chronoseal_verifier_new(&trust, &verifier, &error)) == CHRONOSEAL_OK &&
        (status = chronoseal_stamp_read_file(argv[3], &stored, &error)) == CHRONOSEAL_OK) {
        status = chronoseal_verify_file(verifier, stored, argv[1], NULL, &verdict, &error);
        print_findings(verdict);
    }
    if (error != NULL) {
        fprintf(stderr, "%s\n", chronoseal_error_message(error));
    }
    chronoseal_verdict_free(&verdict);
    chronoseal_stamp_free(&stored);
    chronoseal_verifier_free(&verifier);
    chronoseal_stamp_free(&stamp);
    chronoseal_sealer_free(&sealer);
    chronoseal_error_free(&error);
    return (int)status;
}
