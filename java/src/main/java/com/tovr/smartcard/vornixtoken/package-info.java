// SPDX-License-Identifier: Apache-2.0
/**
 * A smart-card token for Java applications: start with {@link com.tovr.smartcard.vornixtoken.Token}.
 */
package com.tovr.smartcard.vornixtoken;
