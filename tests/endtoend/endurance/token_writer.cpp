// Writes to the token in VORNIX_SOFTTOKEN_DIR until it is killed.
#include "full_cycle.h"

#include <cstring>

int main(int count, char** arguments)
{
    using namespace endtoend;
    const std::string job = count == 2 ? arguments[1] : "";
    Bytes certificate;
    CK_RV rv = readCertificate(certificate);
    while (rv == CKR_OK)
        if (job == "importing")
            rv = import(certificate);
        else if (job == "generating")
            rv = generateKeyPair({0x02});
        else if (job == "changingThePin" && (rv = changePin("12345678", "abcdefgh")) == CKR_OK)
            rv = changePin("abcdefgh", "12345678");
    return 1;
}
