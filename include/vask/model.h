/*
 * Models of the learned detector, for streams with VASK_STREAM_LEARNED. One is built in; others come from a
 * file that training/ makes.
 */
#ifndef VASK_MODEL_H_
#define VASK_MODEL_H_

#include <stdint.h>

#include <vask/export.h>

VASK_BEGIN_DECLS

typedef struct vask_model vask_model;

/* Why a model is refused. */
enum {
  VASK_MODEL_OK = 0,
  VASK_MODEL_NO_FILE = 1,   /* it cannot be read */
  VASK_MODEL_NOT_ONE = 2,   /* it is not a model, or of a version that this library does not know */
  VASK_MODEL_DAMAGED = 3,   /* its digest does not match, or it is cut */
  VASK_MODEL_TOO_LARGE = 4, /* its sizes are beyond what a stream has room for */
  VASK_MODEL_NO_MEMORY = 5
};

/**
 * Read a model. Not in the library of streams alone, which opens no files.
 *
 * path    its file
 * reason  out: one of the above; may be null
 *
 * return  the model
 *         null: it is refused
 */
VASK_API vask_model *vask_model_open(const char *path, int32_t *reason);

/**
 * Read a model that is in memory: for applications that have it in an archive or from elsewhere.
 *
 * bytes   in: the contents of its file; copied
 * size    bytes
 * reason  out: one of the above, VASK_MODEL_NO_FILE if bytes is null; may be null
 *
 * return  the model
 *         null: it is refused
 */
VASK_API vask_model *vask_model_read(const void *bytes, uint32_t size, int32_t *reason);

/**
 * Release a model that no stream uses any more.
 *
 * model  the model; null is harmless
 */
VASK_API void vask_model_close(vask_model *model);

/**
 * Get the digest of a model: CRC-32 of its file's contents after the header.
 *
 * model  in: the model; null: the built-in one
 *
 * return  the digest
 *         0: there is no built-in model
 */
VASK_API uint32_t vask_model_digest(const vask_model *model);

VASK_END_DECLS

#endif /* VASK_MODEL_H_ */
