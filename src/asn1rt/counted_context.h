// ASN1Context, a context with a reference count, and ASN1CtxtPtr, which holds one reference.
// Message buffers, control objects and value records share a context through it. The count is a
// plain integer: all that share a context stay on one thread.
#pragma once

#include <utility>

#include <chronoseal/asn1rt/context.h>
#include <chronoseal/visibility.h>

class CHRONOSEAL_API ASN1Context : public ASN1CTXT {
public:
    // No references yet. Throws ASN1MessageBuffer::RTLError.
    ASN1Context();
    ~ASN1Context();
    ASN1Context(const ASN1Context&) = delete;
    ASN1Context& operator=(const ASN1Context&) = delete;

    void _ref() { ++refCount; }
    // Deletes the object, which must come from `new`, with the last reference.
    void _unref();
    int getRefCount() const { return refCount; }

    void PrintErrorInfo() { rtErrPrint(&errInfo); }

private:
    std::int32_t refCount;
};

class CHRONOSEAL_API ASN1CtxtPtr {
public:
    ASN1CtxtPtr() = default;
    explicit ASN1CtxtPtr(ASN1Context* context) : context_(context) { add_reference(); }
    ASN1CtxtPtr(const ASN1CtxtPtr& other) : context_(other.context_) { add_reference(); }
    ASN1CtxtPtr(ASN1CtxtPtr&& other) noexcept : context_(std::exchange(other.context_, nullptr)) {}
    ASN1CtxtPtr& operator=(ASN1CtxtPtr other) noexcept {
        std::swap(context_, other.context_);
        return *this;
    }
    ~ASN1CtxtPtr() {
        if (context_ != nullptr) {
            context_->_unref();
        }
    }

    ASN1Context* get() const { return context_; }
    ASN1Context* operator->() const { return context_; }
    ASN1Context& operator*() const { return *context_; }
    operator ASN1Context*() const { return context_; }

private:
    void add_reference() {
        if (context_ != nullptr) {
            context_->_ref();
        }
    }

    ASN1Context* context_ = nullptr;
};
