# SPDX-License-Identifier: Apache-2.0
# PyKCS11 (Debian: python3-pykcs11) with an open session: times the jobs that standard input names.
import sys
import time

import PyKCS11

module, slot, pin = sys.argv[1:]
library = PyKCS11.PyKCS11Lib()
library.load(module)
session = library.openSession(int(slot), PyKCS11.CKF_SERIAL_SESSION | PyKCS11.CKF_RW_SESSION)
session.login(pin)
DESCRIPTION = [PyKCS11.CKA_CLASS, PyKCS11.CKA_ID, PyKCS11.CKA_LABEL, PyKCS11.CKA_KEY_TYPE]


def list_objects():
    return [session.getAttributeValue(found, DESCRIPTION) for found in session.findObjects()]


def certificate(label):
    found = session.findObjects([(PyKCS11.CKA_CLASS, PyKCS11.CKO_CERTIFICATE), (PyKCS11.CKA_LABEL, label)])
    return bytes(session.getAttributeValue(found[0], [PyKCS11.CKA_VALUE])[0])


print("ready", flush=True)
for line in sys.stdin:
    times, job, *arguments = line.split()
    work = {"list": list_objects, "certificate": certificate}[job]
    start = time.thread_time()
    for _ in range(int(times)):
        work(*arguments)
    print((time.thread_time() - start) * 1e6 / int(times), flush=True)
