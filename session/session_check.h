// SPDX-License-Identifier: Apache-2.0
// Whether a session still has what its jobs stand upon. Anybody in the process can end its login by C_Logout; then the
// private objects are not to be seen, and the module's functions succeed with what is left. And a module may answer
// from its memory when the card is out.
#pragma once

#include "p11/outcome.h"
#include "p11/session.h"

/// Asks the session and its slot. CKR_USER_NOT_LOGGED_IN where nobody or the security officer is logged in,
/// CKR_DEVICE_REMOVED where no card is in the reader.
Outcome checkSession(const Session& session);

/// The outcome of a job that has looked for objects; where it has missed one, the session's may be why.
Outcome explained(const Session& session, const Outcome& outcome);

/// The same for a job whose success means that it has seen all objects.
Outcome complete(const Session& session, const Outcome& outcome);
