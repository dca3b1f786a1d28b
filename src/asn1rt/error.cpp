// The latched status of a context.
#include <chronoseal/asn1rt/error.h>

#include <cstdio>

int rtErrSetData(ASN1ErrorRecord* errInfo, int status) {
    if (errInfo->status == 0) {
        errInfo->status = status;
    }
    return status;
}

int rtErrReset(ASN1ErrorRecord* errInfo) {
    errInfo->status = 0;
    return 0;
}

int rtErrCopyData(const ASN1ErrorRecord* source, ASN1ErrorRecord* destination) {
    destination->status = source->status;
    return source->status;
}

const char* rtErrGetText() {
    return "";
}

int rtErrPrint(const ASN1ErrorRecord* errInfo) {
    return std::printf("ASN.1 ERROR: Status %d\n", errInfo->status);
}

int rtErrAddIntParm(ASN1ErrorRecord*, int) {
    return 1;
}

int rtErrAddStrParm(ASN1ErrorRecord*, const char*) {
    return 1;
}
