// SPDX-License-Identifier: Apache-2.0
// Whether a session still has its user's login. Anybody in the process can end it by C_Logout. Then the private objects
// are not to be seen, and the module's functions succeed with what is left.
#pragma once

#include "p11/outcome.h"
#include "p11/session.h"

/// Asks the session. CKR_USER_NOT_LOGGED_IN where nobody or the security officer is logged in.
Outcome checkUserLogin(const Session& session);

/// The outcome of a job that has looked for objects; where it has missed one, the lost login may be why.
Outcome explained(const Session& session, const Outcome& outcome);

/// The same for a job whose success means that it has seen all objects.
Outcome complete(const Session& session, const Outcome& outcome);
