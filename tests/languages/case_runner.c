/* One case of the table in C:  case_runner seal URL DATA ROOTS | verify STAMP DATA ROOTS [EVIDENCE]
   Prints the status and the word, and of a verdict each finding. */
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
    status = strcmp(argv[1], "seal") == 0 ? seal(argv, &trust, &error)
                                          : verify(argv, &trust, &verdict, &error);
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
