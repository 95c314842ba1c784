// SPDX-License-Identifier: Apache-2.0
// pkcs11js (the npm package) with an open session: times the jobs that standard input names.
const pkcs11js = require("pkcs11js");
const readline = require("readline");

const [module_, slotNumber, pin] = process.argv.slice(2);
const library = new pkcs11js.PKCS11();
library.load(module_);
library.C_Initialize();
const slot = library.C_GetSlotList(true).find(candidate =>
    Number(candidate.readBigUInt64LE()) === Number(slotNumber));
const session = library.C_OpenSession(slot, pkcs11js.CKF_SERIAL_SESSION | pkcs11js.CKF_RW_SESSION);
library.C_Login(session, pkcs11js.CKU_USER, pin);

function find(criteria) {
    library.C_FindObjectsInit(session, criteria);
    const found = [];
    for (let object = library.C_FindObjects(session); object; object = library.C_FindObjects(session)) {
        found.push(object);
    }
    library.C_FindObjectsFinal(session);
    return found;
}

// An attribute that an object does not have is an error here: only keys are asked for their type.
function describe(object) {
    const attributes = library.C_GetAttributeValue(session, object,
        [{ type: pkcs11js.CKA_CLASS }, { type: pkcs11js.CKA_ID }, { type: pkcs11js.CKA_LABEL }]);
    if (attributes[0].value.readUInt32LE() !== pkcs11js.CKO_CERTIFICATE) {
        attributes.push(...library.C_GetAttributeValue(session, object, [{ type: pkcs11js.CKA_KEY_TYPE }]));
    }
    return attributes;
}

const jobs = {
    list: () => find([]).map(describe),
    certificate: label => library.C_GetAttributeValue(session,
        find([{ type: pkcs11js.CKA_CLASS, value: pkcs11js.CKO_CERTIFICATE }, { type: pkcs11js.CKA_LABEL, value: label }])[0],
        [{ type: pkcs11js.CKA_VALUE }])[0].value,
};

console.log("ready");
readline.createInterface({ input: process.stdin }).on("line", line => {
    const [times, job, ...names] = line.split(" ");
    const start = process.cpuUsage();
    for (let i = 0; i < times; i++) {
        jobs[job](...names);
    }
    const { user, system } = process.cpuUsage(start);
    console.log((user + system) / times);
});
