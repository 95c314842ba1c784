// SPDX-License-Identifier: Apache-2.0
/**
 * Card readers without a PKCS #11 module.
 */
package com.tovr.smartcard.vornixtoken.utils;
