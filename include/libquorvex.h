/*
 * libquorvex: the engine of a scientific calculator and numerical toolbox.
 *
 * This is the only public header. It is plain C99 that also compiles as C++.
 * Every function declared here is exported with an undecorated C name; the
 * caller owns every text, container and bitmap returned and frees it with the
 * matching Free... call (texts with FreeString, plain blocks with Free).
 *
 * Conventions of the toolkit: numeric vectors keep their length in element 0
 * and data in 1..n; a matrix m is an array of column pointers and m[j][i] is
 * row i, column j, both 1-based; text vectors are 0-based and end with an
 * empty string.
 */
#ifndef LIBQUORVEX_H
#define LIBQUORVEX_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#define QUORVEX_VERSION "0.1.0"

#if defined(_WIN32)
#  if defined(QVX_BUILDING)
#    define QVX_API __declspec(dllexport)
#  else
#    define QVX_API __declspec(dllimport)
#  endif
#else
#  define QVX_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#  define QVX_NOEXCEPT noexcept
extern "C" {
#else
#  define QVX_NOEXCEPT
#endif

/* ======================================================================== */
/* Scalars and container types                                              */
/* ======================================================================== */

typedef struct Complex { double re; double im; } Complex;  /* value pair */

typedef int32_t StreamMode;  /* 1: stream is a FILE *; any other value: a MemFile * */

typedef void  (*FreeValueFn)(void *value);
typedef void  (*WriteValueFn)(void *value, void *stream, StreamMode mode);
typedef void *(*ReadValueFn)(void *stream, StreamMode mode);
typedef void *(*CopyValueFn)(void *value);

/* ======================================================================== */
/* Engine: life cycle and scripts                                           */
/* ======================================================================== */

typedef struct Environment Environment;   /* opaque to hosts */

/* @@ENGINE@@ */

/* ======================================================================== */
/* History                                                                  */
/* ======================================================================== */

typedef struct HistoryItem {
    struct HistoryItem *next, *prev;
    char *input;
    char *output;                          /* may be null */
} HistoryItem;
typedef struct HistoryList {
    HistoryItem *head, *tail, *iterator;
    FreeValueFn free; ReadValueFn read; WriteValueFn write; CopyValueFn copy;
    int32_t count;                         /* includes the two sentinel entries */
} HistoryList;

/* @@HISTORY@@ */

/* ======================================================================== */
/* Help texts and listings                                                  */
/* ======================================================================== */

QVX_API char *About(void) QVX_NOEXCEPT;

/* @@HELP@@ */

/* ======================================================================== */
/* Plots                                                                    */
/* ======================================================================== */

/* @@PLOTS@@ */

/* ======================================================================== */
/* Bitmaps and fonts                                                        */
/* ======================================================================== */

/* @@BITMAPS@@ */

/* ======================================================================== */
/* Dictionary tree, value trees and streams                                 */
/* ======================================================================== */

typedef struct RBSTNode {
    int32_t color;                     /* 0 red, 1 black, 2 double black (transient) */
    struct RBSTNode *left, *right, *parent;
    char *key;
    void *value;
} RBSTNode;

typedef struct RBST {
    RBSTNode *root;
    FreeValueFn free_value; WriteValueFn write_value;
    ReadValueFn read_value; CopyValueFn copy_value;
    int32_t size;
} RBST;

typedef struct IntRBSTNode {
    int32_t color;
    struct IntRBSTNode *left, *right, *parent;
    int32_t key;
    void *value;
} IntRBSTNode;
typedef struct IntRBST {
    IntRBSTNode *root;
    FreeValueFn free_value; WriteValueFn write_value;
    ReadValueFn read_value; CopyValueFn copy_value;
    int32_t size;
} IntRBST;

typedef struct KeyListEntry { struct KeyListEntry *next, *prev; char *key; void *value; } KeyListEntry;
typedef struct KeyList {
    KeyListEntry *head, *tail;
    FreeValueFn free_value; ReadValueFn read_value;     /* read before write here */
    WriteValueFn write_value; CopyValueFn copy_value;
    int32_t count;
} KeyList;

typedef struct MemFile { unsigned char *buffer; uint32_t size; uint32_t position; } MemFile;

/* @@TREE@@ */

/* @@MEMFILE@@ */

typedef RBST QorTree;
typedef struct GenericValue { void *value; char *type; } GenericValue;
typedef struct TypeRecord { FreeValueFn free; WriteValueFn write; ReadValueFn read; CopyValueFn copy; } TypeRecord;

/* @@VALUETREE@@ */

/* ======================================================================== */
/* Big numbers                                                              */
/* ======================================================================== */

typedef struct BitArray { uint64_t bits; uint64_t words; uint64_t *data; } BitArray;
typedef struct BitArrayFloat { BitArray *integer; BitArray *fraction; int8_t sign; } BitArrayFloat;

/* @@BIGNUM@@ */

/* ======================================================================== */
/* Containers                                                               */
/* ======================================================================== */

QVX_API void     Free(void *p) QVX_NOEXCEPT;             /* frees any plain block; null is ignored */
QVX_API void     FreeString(char *text) QVX_NOEXCEPT;    /* wipes the text with zeros, then frees it */

QVX_API double  *Vector(int32_t n) QVX_NOEXCEPT;
QVX_API Complex *VectorC(int32_t n) QVX_NOEXCEPT;
QVX_API int32_t *VectorL(int32_t n) QVX_NOEXCEPT;
QVX_API int32_t *VectorI(int32_t n) QVX_NOEXCEPT;
QVX_API float   *VectorF(int32_t n) QVX_NOEXCEPT;
QVX_API uint32_t *VectorUInt32(int32_t n) QVX_NOEXCEPT;
QVX_API double  *Vector0(int32_t n) QVX_NOEXCEPT;
QVX_API Complex *Vector0C(int32_t n) QVX_NOEXCEPT;
QVX_API int32_t *Vector0L(int32_t n) QVX_NOEXCEPT;
QVX_API void     FreeVector(double *v) QVX_NOEXCEPT;
QVX_API void     FreeVectorC(Complex *v) QVX_NOEXCEPT;
QVX_API void     FreeVectorL(int32_t *v) QVX_NOEXCEPT;

QVX_API double  **Matrix(int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API Complex **MatrixC(int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API int32_t **MatrixL(int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API int32_t **MatrixI(int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API float   **MatrixF(int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API uint32_t **MatrixUInt32(int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API double  **Matrix0(int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API Complex **Matrix0C(int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API int32_t **Matrix0L(int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API void      FreeMatrix(double **m) QVX_NOEXCEPT;
QVX_API void      FreeMatrixC(Complex **m) QVX_NOEXCEPT;
QVX_API void      FreeMatrixF(float **m) QVX_NOEXCEPT;
QVX_API void      FreeMatrixI(int32_t **m) QVX_NOEXCEPT;
QVX_API void      FreeMatrixL(int32_t **m) QVX_NOEXCEPT;
QVX_API void      FreeMatrixUInt32(uint32_t **m) QVX_NOEXCEPT;

QVX_API char   **StringVector(int32_t n) QVX_NOEXCEPT;
QVX_API char   **StringVectorNULL(int32_t n) QVX_NOEXCEPT;
QVX_API int32_t  StringVectorLength(char **v) QVX_NOEXCEPT;
QVX_API void     FreeStringVector(char **v) QVX_NOEXCEPT;
QVX_API char    *CopyS(const char *text) QVX_NOEXCEPT;

/* @@CONTAINERS@@ */

/* ======================================================================== */
/* Linear algebra and tensors                                               */
/* ======================================================================== */

typedef struct Tensor { int32_t rank; int32_t length; void **items; } Tensor;
/* rank 0: items[0] points to one Complex; rank r > 0: length pointers to Tensor of rank r-1 */

/* @@LINALG@@ */

/* @@TENSOR@@ */

/* ======================================================================== */
/* Fourier family                                                           */
/* ======================================================================== */

/* @@FOURIER@@ */

/* ======================================================================== */
/* Special functions                                                        */
/* ======================================================================== */

/* @@SPECIAL@@ */

/* ======================================================================== */
/* Strings, text files and hashes                                           */
/* ======================================================================== */

/* @@NUMTEXT@@ */

/* @@STRINGS@@ */

/* @@TEXTFILES@@ */

/* @@HASHES@@ */

/* ======================================================================== */
/* Scalar maths                                                             */
/* ======================================================================== */

/* @@SCALAR@@ */

#ifdef __cplusplus
}
#endif
#endif /* LIBQUORVEX_H */
