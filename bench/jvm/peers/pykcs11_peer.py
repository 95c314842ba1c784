# SPDX-License-Identifier: Apache-2.0
# PyKCS11 (Debian: python3-pykcs11) with an open session: times the jobs that standard input names.
import sys
import time

import PyKCS11

module, slot, pin = sys.argv[1:]
library = PyKCS11.PyKCS11Lib()
library.load(module)
READ_WRITE = PyKCS11.CKF_SERIAL_SESSION | PyKCS11.CKF_RW_SESSION
session = library.openSession(int(slot), READ_WRITE)
session.login(pin)
READER = library.getSlotInfo(int(slot)).slotDescription
DESCRIPTION = [PyKCS11.CKA_CLASS, PyKCS11.CKA_ID, PyKCS11.CKA_LABEL, PyKCS11.CKA_KEY_TYPE]
NAME = [(PyKCS11.CKA_LABEL, "new"), (PyKCS11.CKA_ID, (1, 2)), (PyKCS11.CKA_TOKEN, PyKCS11.CK_TRUE)]
PUBLIC_KEY = NAME + [
    (PyKCS11.CKA_MODULUS_BITS, 2048), (PyKCS11.CKA_PUBLIC_EXPONENT, (1, 0, 1)), (PyKCS11.CKA_ENCRYPT, PyKCS11.CK_TRUE),
    (PyKCS11.CKA_VERIFY, PyKCS11.CK_TRUE), (PyKCS11.CKA_WRAP, PyKCS11.CK_TRUE)]
PRIVATE_KEY = NAME + [
    (PyKCS11.CKA_PRIVATE, PyKCS11.CK_TRUE), (PyKCS11.CKA_SENSITIVE, PyKCS11.CK_TRUE),
    (PyKCS11.CKA_DECRYPT, PyKCS11.CK_TRUE), (PyKCS11.CKA_SIGN, PyKCS11.CK_TRUE), (PyKCS11.CKA_UNWRAP, PyKCS11.CK_TRUE)]


def list_objects():
    return [session.getAttributeValue(found, DESCRIPTION) for found in session.findObjects()]


def read(object_class, label, attributes):
    found = session.findObjects([(PyKCS11.CKA_CLASS, object_class), (PyKCS11.CKA_LABEL, label)])
    return [bytes(value) for value in session.getAttributeValue(found[0], attributes)]


def certificate(label):
    return read(PyKCS11.CKO_CERTIFICATE, label, [PyKCS11.CKA_VALUE])


def public_key(label):
    return read(PyKCS11.CKO_PUBLIC_KEY, label, [PyKCS11.CKA_MODULUS, PyKCS11.CKA_PUBLIC_EXPONENT])


def info():
    return library.getTokenInfo(int(slot)).to_dict()


def readers():
    return [(library.getSlotInfo(each).to_dict(), library.getTokenInfo(each).to_dict())
            for each in library.getSlotList()]


def open_session():
    named = [each for each in library.getSlotList() if library.getSlotInfo(each).slotDescription == READER]
    other = library.openSession(named[0], READ_WRITE)
    try:
        other.login(pin)
    except PyKCS11.PyKCS11Error:  # the login is there already
        pass
    other.closeSession()


def generate():
    session.generateKeyPair(PUBLIC_KEY, PRIVATE_KEY)


def import_certificate(length):
    session.createObject(NAME + [
        (PyKCS11.CKA_CLASS, PyKCS11.CKO_CERTIFICATE), (PyKCS11.CKA_CERTIFICATE_TYPE, PyKCS11.CKC_X_509),
        (PyKCS11.CKA_PRIVATE, PyKCS11.CK_FALSE), (PyKCS11.CKA_SUBJECT, bytes(22)), (PyKCS11.CKA_ISSUER, bytes(22)),
        (PyKCS11.CKA_SERIAL_NUMBER, bytes(22)), (PyKCS11.CKA_VALUE, bytes(int(length)))])


def clean():
    for found in session.findObjects():
        session.destroyObject(found)


JOBS = {"list": list_objects, "certificate": certificate, "public_key": public_key, "info": info, "readers": readers,
        "open": open_session, "generate": generate, "import": import_certificate, "clean": clean}
print("ready", flush=True)
for line in sys.stdin:
    times, job, *arguments = line.split()
    work = JOBS[job]
    start = time.thread_time()
    for _ in range(int(times)):
        work(*arguments)
    print((time.thread_time() - start) * 1e6 / int(times), flush=True)
