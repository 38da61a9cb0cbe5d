/**
 * @file
 * Linkage of the interface: every public name has C linkage and is exported.
 */
#ifndef MCADAPT_API_H
#define MCADAPT_API_H

#ifdef __cplusplus
#define MCADAPT_BEGIN_DECLS extern "C" {
#define MCADAPT_END_DECLS }
#else
#define MCADAPT_BEGIN_DECLS
#define MCADAPT_END_DECLS
#endif

#if defined(__GNUC__)
#define MCADAPT_API __attribute__((visibility("default")))
#else
#define MCADAPT_API
#endif

#endif
