// SPDX-License-Identifier: Apache-2.0
/**
 * The native methods themselves. Applications are better served by {@link com.tovr.smartcard.vornixtoken.Token}.
 */
package com.tovr.smartcard.vornixtoken.api;
