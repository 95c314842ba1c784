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
const reader = library.C_GetSlotInfo(slot).slotDescription;
const readWrite = pkcs11js.CKF_SERIAL_SESSION | pkcs11js.CKF_RW_SESSION;
const session = library.C_OpenSession(slot, readWrite);
library.C_Login(session, pkcs11js.CKU_USER, pin);

const yes = types => types.map(type => ({ type, value: true }));
const name = [{ type: pkcs11js.CKA_LABEL, value: "new" }, { type: pkcs11js.CKA_ID, value: Buffer.from([1, 2]) },
    ...yes([pkcs11js.CKA_TOKEN])];
const rsa = { mechanism: pkcs11js.CKM_RSA_PKCS_KEY_PAIR_GEN, parameter: null };
const publicKey = [...name, { type: pkcs11js.CKA_MODULUS_BITS, value: 2048 },
    { type: pkcs11js.CKA_PUBLIC_EXPONENT, value: Buffer.from([1, 0, 1]) },
    ...yes([pkcs11js.CKA_ENCRYPT, pkcs11js.CKA_VERIFY, pkcs11js.CKA_WRAP])];
const privateKey = [...name, ...yes([pkcs11js.CKA_PRIVATE, pkcs11js.CKA_SENSITIVE, pkcs11js.CKA_DECRYPT,
    pkcs11js.CKA_SIGN, pkcs11js.CKA_UNWRAP])];

function find(criteria, most = Infinity) {
    library.C_FindObjectsInit(session, criteria);
    const found = [];
    while (found.length < most) {
        const object = library.C_FindObjects(session);
        if (!object) {
            break;
        }
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

function read(objectClass, label, types) {
    const criteria = [{ type: pkcs11js.CKA_CLASS, value: objectClass }, { type: pkcs11js.CKA_LABEL, value: label }];
    const [object] = find(criteria, 1);
    return library.C_GetAttributeValue(session, object, types.map(type => ({ type })));
}

function openSession() {
    const named = library.C_GetSlotList(false).find(each => library.C_GetSlotInfo(each).slotDescription === reader);
    const other = library.C_OpenSession(named, readWrite);
    try {
        library.C_Login(other, pkcs11js.CKU_USER, pin);
    } catch { // the login is there already
    }
    library.C_CloseSession(other);
}

const jobs = {
    list: () => find([]).map(describe),
    certificate: label => read(pkcs11js.CKO_CERTIFICATE, label, [pkcs11js.CKA_VALUE]),
    public_key: label => read(pkcs11js.CKO_PUBLIC_KEY, label, [pkcs11js.CKA_MODULUS, pkcs11js.CKA_PUBLIC_EXPONENT]),
    info: () => library.C_GetTokenInfo(slot),
    readers: () => library.C_GetSlotList(false).map(each =>
        [library.C_GetSlotInfo(each), library.C_GetTokenInfo(each)]),
    open: openSession,
    generate: () => library.C_GenerateKeyPair(session, rsa, publicKey, privateKey),
    import: length => library.C_CreateObject(session, [...name,
        { type: pkcs11js.CKA_CLASS, value: pkcs11js.CKO_CERTIFICATE },
        { type: pkcs11js.CKA_CERTIFICATE_TYPE, value: pkcs11js.CKC_X_509 },
        { type: pkcs11js.CKA_PRIVATE, value: false },
        { type: pkcs11js.CKA_SUBJECT, value: Buffer.alloc(22) },
        { type: pkcs11js.CKA_ISSUER, value: Buffer.alloc(22) },
        { type: pkcs11js.CKA_SERIAL_NUMBER, value: Buffer.alloc(22) },
        { type: pkcs11js.CKA_VALUE, value: Buffer.alloc(Number(length)) }]),
    clean: () => find([]).forEach(object => library.C_DestroyObject(session, object)),
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
