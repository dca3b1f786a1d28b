/* One case of the table in C:  case_runner seal|authenticode URL DATA ROOTS | verify STAMP DATA
   ROOTS [EVIDENCE] | attach STAMP SIGNATURE ROOTS | list LIST DATA ROOTS Prints the status and the
   word, and of a verdict each finding. */
#include <stdio.h>
#include <string.h>

#include <chronoseal/chronoseal.h>

static const char* const statuses[] = {"ok", "refused", "misuse", "unreachable"};
static const char* const outcomes[] = {"passed", "failed", "not_done"};

static chronoseal_status seal(char** argv, const chronoseal_trust* trust,
                              chronoseal_error** error) {
    const chronoseal_sealer_options options = {
        .size = sizeof options, .url = argv[2], .attempts = 1, .trust = trust};
    chronoseal_sealer* sealer = NULL;
    chronoseal_stamp* stamp = NULL;
    chronoseal_status status = chronoseal_sealer_new(&options, &sealer, error);
    if (status == CHRONOSEAL_OK) {
        status = chronoseal_seal_file(sealer, argv[3], NULL, &stamp, error);
    }
    chronoseal_stamp_free(&stamp);
    chronoseal_sealer_free(&sealer);
    return status;
}

static chronoseal_status verify(char** argv, const chronoseal_trust* trust,
                                chronoseal_verdict** verdict, chronoseal_error** error) {
    chronoseal_verifier* verifier = NULL;
    chronoseal_stamp* stamp = NULL;
    chronoseal_status status = chronoseal_verifier_new(trust, &verifier, error);
    if (status == CHRONOSEAL_OK) {
        status = chronoseal_stamp_read_file(argv[2], &stamp, error);
    }
    if (status == CHRONOSEAL_OK) {
        status = chronoseal_verify_file(verifier, stamp, argv[3], NULL, verdict, error);
    }
    chronoseal_stamp_free(&stamp);
    chronoseal_verifier_free(&verifier);
    return status;
}

static chronoseal_status authenticode(char** argv, const chronoseal_trust* trust,
                                      chronoseal_error** error) {
    const chronoseal_authenticode_options options = {
        .size = sizeof options, .url = argv[2], .trust = trust};
    chronoseal_authenticode_stamp* stamp = NULL;
    const chronoseal_status status =
        chronoseal_authenticode(argv[3], strlen(argv[3]), &options, &stamp, error);
    chronoseal_authenticode_stamp_free(&stamp);
    return status;
}

static chronoseal_status attach(char** argv, chronoseal_error** error) {
    static unsigned char bytes[65536];
    FILE* file = fopen(argv[3], "rb");
    const size_t size = file != NULL ? fread(bytes, 1, sizeof bytes, file) : 0;
    chronoseal_cms_signature* signature = NULL;
    chronoseal_cms_signature* stamped = NULL;
    chronoseal_stamp* stamp = NULL;
    chronoseal_status status = chronoseal_cms_signature_read(bytes, size, &signature, error);
    if (status == CHRONOSEAL_OK) {
        status = chronoseal_cms_signature_check(signature, 0, NULL, 0, NULL, NULL, error);
    }
    if (status == CHRONOSEAL_OK) {
        status = chronoseal_stamp_read_file(argv[2], &stamp, error);
    }
    if (status == CHRONOSEAL_OK) {
        status = chronoseal_cms_signature_with_stamp(signature, 0, stamp, NULL, &stamped, error);
    }
    chronoseal_stamp_free(&stamp);
    chronoseal_cms_signature_free(&stamped);
    chronoseal_cms_signature_free(&signature);
    if (file != NULL) {
        fclose(file);
    }
    return status;
}

static chronoseal_status list(char** argv, chronoseal_error** error) {
    chronoseal_digest digest;
    uint64_t lines = 0;
    return chronoseal_manifest_read(argv[2], NULL, NULL, NULL, &digest, &lines, error);
}

static chronoseal_status run(char** argv, const chronoseal_trust* trust,
                             chronoseal_verdict** verdict, chronoseal_error** error) {
    if (strcmp(argv[1], "seal") == 0) {
        return seal(argv, trust, error);
    }
    if (strcmp(argv[1], "authenticode") == 0) {
        return authenticode(argv, trust, error);
    }
    if (strcmp(argv[1], "attach") == 0) {
        return attach(argv, error);
    }
    return strcmp(argv[1], "list") == 0 ? list(argv, error) : verify(argv, trust, verdict, error);
}

int main(int argc, char** argv) {
    chronoseal_error* error = NULL;
    chronoseal_verdict* verdict = NULL;
    chronoseal_status status;
    size_t i;
    if (argc < 5) {
        return 2;
    }
    const chronoseal_source root = {.path = argv[4]};
    const chronoseal_source evidence = {.path = argc > 5 ? argv[5] : NULL};
    const chronoseal_trust trust = {.size = sizeof trust,
                                    .roots = &root,
                                    .root_count = 1,
                                    .evidence = &evidence,
                                    .evidence_count = argc > 5 ? 1 : 0};
    status = run(argv, &trust, &verdict, &error);
    printf("%s %s\n", statuses[status], error != NULL ? chronoseal_error_word(error) : "good");
    for (i = 0; verdict != NULL && i < CHRONOSEAL_CHECKS; ++i) {
        const chronoseal_finding* finding;
        if (chronoseal_verdict_finding(verdict, i, &finding, NULL) == CHRONOSEAL_OK) {
            printf("%s %s %s\n", finding->name, outcomes[finding->outcome], finding->word);
        }
    }
    chronoseal_verdict_free(&verdict);
    chronoseal_error_free(&error);
    return 0;
}
