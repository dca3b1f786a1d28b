// The two fields that the records of the three signing-certificate attributes consist of.
#pragma once

#include <memory>

#include "asn1/optional_owner.h"
#include "asn1/policy_information_traits.h"
#include "asn1/seq_of_list_traits.h"

namespace Halcyon::ASN1 {

// X ::= SEQUENCE {
//     certs     SEQUENCE OF Element,
//     policies  SEQUENCE OF PolicyInformation OPTIONAL }
template <class ElementTraits, class Element, class List>
struct CertsAndPoliciesTraits {
    using Certs =
        ASN1TSeqOfList_traits<typename ElementTraits::ASN1_T, ElementTraits, Element, List>;
    using Policies =
        ASN1TSeqOfList_traits<asn1data::ASN1T_PolicyInformation, ASN1T_PolicyInformation_traits,
                              CPolicyInformation, CPolicyInformationList>;

    // An empty list of policies is left out.
    template <class Record>
    static void set(ASN1CTXT* ctxt, Record& record, const List& certs,
                    const CPolicyInformationList* policies) {
        record.m = {};
        Certs::set(ctxt, record.certs, certs);
        if (policies && !policies->empty()) {
            record.m.policiesPresent = 1;
            Policies::set(ctxt, record.policies, *policies);
        }
    }

    template <class Record>
    static void get(const Record& record, List& certs,
                    std::unique_ptr<CPolicyInformationList>& policies) {
        Certs::get(record.certs, certs);
        CPolicyInformationList list;
        if (record.m.policiesPresent)
            Policies::get(record.policies, list);
        copy_to_auto_ptr(policies, record.m.policiesPresent ? &list : nullptr);
    }
};

} // namespace Halcyon::ASN1
