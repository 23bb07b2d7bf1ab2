/*
 * Where a host decides which servers are trusted. Without a judge, every server certificate is
 * accepted.
 */
#ifndef ZUNOHELPER_SERVER_TRUST_H
#define ZUNOHELPER_SERVER_TRUST_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Judges the server that a module is connecting to, before anybody logs in there.
 *
 * user          the pointer given to ZunoSetServerTrust
 * endpoint_url  the server as the settings name it, "opc.tcp://host:port/path", zero-terminated;
 *               valid only during the call
 * certificate   as the server sent it, which may be anything; meant to be X.509 in DER, the
 *               server's own first, issuers after it where the server sends them. Valid only during
 *               the call. Null: there is none, and a password would travel in the clear.
 * size          in bytes; 0 for null
 * returns       0: trusted. Anything else ends the connect, with the name of this OPC UA status
 * code in the error: 0x801A0000 is BadCertificateUntrusted. What is no bad code (its highest bit is
 * not set) counts as 0x801A0000.
 *
 * Asked once in a connect: with security mode "sign" or "sign_encrypt" about the certificate that
 * secures the channel, without security about the one that encrypts the password. Where a password
 * would travel in the clear, asked about that with null, with "sign" before the certificate. Not
 * asked where nobody logs in by name and nothing is secured, and where only endpoints are fetched.
 * An answer holds for the connection; another one takes effect at the next connect.
 */
typedef uint32_t (*ZunoServerTrust
)(void* user, const char* endpoint_url, const uint8_t* certificate, uint32_t size);

/*
 * Sets the judge of the process; null: none, as at the start. When it returns, the former judge is
 * not called any more. Thread-safe.
 *
 * The judge is called on the thread that called the module, on several at once, and must return
 * normally. Its time counts as the connect's: when that is over its time-out (5 s; a notification's
 * own), the connect fails with BadTimeout even if the answer is 0, and other users of the same
 * connection wait meanwhile. It must not call ZunoSetServerTrust; the module refuses calls from
 * inside the judge with the number that stands for a failure.
 */
#if defined(__GNUC__)
__attribute__((visibility("default")))
#endif
void ZunoSetServerTrust(ZunoServerTrust judge, void* user);

#ifdef __cplusplus
}
#endif

#endif /* ZUNOHELPER_SERVER_TRUST_H */
