// Writes to the token in VORNIX_SOFTTOKEN_DIR until it is killed. Ends by itself only when it cannot go on: with status
// 1 after a code that is not 0, with 2 when it does not know the job.
#include "tests/endtoend/endurance/full_cycle.h"

#include <string>

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
        else if (job == "changingThePin") {
            rv = changePin(userPin, otherPin);
            if (rv == CKR_OK)
                rv = changePin(otherPin, userPin);
        } else
            return 2;
    return 1;
}
