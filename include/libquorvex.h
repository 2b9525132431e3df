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

/* Small constructors: a vector holding the given values (length 0 if the
 * allocation fails), a 1 by 1 matrix. */
QVX_API double  *VectorS(double x) QVX_NOEXCEPT;
QVX_API int32_t *Vector1L(int32_t i) QVX_NOEXCEPT;
QVX_API double  *Vector2(double x, double y) QVX_NOEXCEPT;
QVX_API double  *Vector3(double x, double y, double z) QVX_NOEXCEPT;
QVX_API int32_t *Vector3L(int32_t i, int32_t j, int32_t k) QVX_NOEXCEPT;
QVX_API double  *Vector6(double a, double b, double c, double d, double e, double f) QVX_NOEXCEPT;
QVX_API int32_t *Vector7L(int32_t a, int32_t b, int32_t c, int32_t d, int32_t e, int32_t f, int32_t g) QVX_NOEXCEPT;
QVX_API double  **MatrixS(double x) QVX_NOEXCEPT;
QVX_API double  **MatrixV(const double *v) QVX_NOEXCEPT;     /* one column, a copy of v */
QVX_API Complex **MatrixVC(const Complex *v) QVX_NOEXCEPT;
QVX_API double  *AllocDouble(double x) QVX_NOEXCEPT;         /* raw cells, no length; Free */
QVX_API int32_t *AllocInt(int32_t i) QVX_NOEXCEPT;

/* VectorV: v[0] leads to an int32 block holding n, slots 1..n start null. */
QVX_API void   **VectorV(int32_t n) QVX_NOEXCEPT;
QVX_API void     FreeVectorV(void **v) QVX_NOEXCEPT;       /* frees slots 0..n, then the array */

/* MatrixVector: mv[0][0][0] holds n; slots 1..n are matrices the caller
 * fills (null at creation). VectorMatrix(m, n, k): m matrices of n columns
 * of length k, under the same header; vm[a][b][t] is element t of vector
 * (a, b). */
QVX_API double  ***MatrixVector(int32_t n) QVX_NOEXCEPT;
QVX_API Complex ***MatrixVectorC(int32_t n) QVX_NOEXCEPT;
QVX_API int32_t ***MatrixVectorL(int32_t n) QVX_NOEXCEPT;
QVX_API double  ***MatrixVector2D(int32_t nx, int32_t ny) QVX_NOEXCEPT;  /* values, abscissas, ordinates */
QVX_API void       FreeMatrixVector(double ***mv) QVX_NOEXCEPT;
QVX_API void       FreeMatrixVectorC(Complex ***mv) QVX_NOEXCEPT;
QVX_API void       FreeMatrixVectorL(int32_t ***mv) QVX_NOEXCEPT;
QVX_API double  ***VectorMatrix(int32_t m, int32_t n, int32_t k) QVX_NOEXCEPT;
QVX_API Complex ***VectorMatrixC(int32_t m, int32_t n, int32_t k) QVX_NOEXCEPT;
QVX_API double  ***VectorMatrix0(int32_t m, int32_t n, int32_t k) QVX_NOEXCEPT;
QVX_API void       FreeVectorMatrix(double ***vm) QVX_NOEXCEPT;
QVX_API void       FreeVectorMatrixC(Complex ***vm) QVX_NOEXCEPT;
QVX_API double  ***ConvertMVVM(double ***mv) QVX_NOEXCEPT;   /* mv[t][j][i] -> vm[j][i][t] */
QVX_API Complex ***ConvertMVVMC(Complex ***mv) QVX_NOEXCEPT;
QVX_API double  ***ConvertVMMV(double ***vm) QVX_NOEXCEPT;   /* vm[a][b][t] -> mv[t][a][b] */
QVX_API Complex ***ConvertVMMVC(Complex ***vm) QVX_NOEXCEPT;
QVX_API double  ***ReorderMV(double ***mv, const int32_t *order) QVX_NOEXCEPT;  /* copies mv[order[t]] */

/* Copies: a new container. CopyC returns a heap cell (Free). */
QVX_API double   *CopyVector(const double *v) QVX_NOEXCEPT;
QVX_API Complex  *CopyVectorC(const Complex *v) QVX_NOEXCEPT;
QVX_API float    *CopyVectorF(const float *v) QVX_NOEXCEPT;
QVX_API int32_t  *CopyVectorI(const int32_t *v) QVX_NOEXCEPT;
QVX_API int32_t  *CopyVectorL(const int32_t *v) QVX_NOEXCEPT;
QVX_API double  **CopyMatrix(double **m) QVX_NOEXCEPT;
QVX_API Complex **CopyMatrixC(Complex **m) QVX_NOEXCEPT;
QVX_API float   **CopyMatrixF(float **m) QVX_NOEXCEPT;
QVX_API int32_t **CopyMatrixI(int32_t **m) QVX_NOEXCEPT;
QVX_API int32_t **CopyMatrixL(int32_t **m) QVX_NOEXCEPT;
QVX_API uint32_t **CopyMatrixUInt32(uint32_t **m) QVX_NOEXCEPT;
QVX_API double  ***CopyMatrixVector(double ***mv) QVX_NOEXCEPT;
QVX_API Complex ***CopyMatrixVectorC(Complex ***mv) QVX_NOEXCEPT;
QVX_API Complex  *CopyC(const Complex *z) QVX_NOEXCEPT;

/* In-place copies. ...IP(source, destination) take the length from the
 * source, ...Copy(destination, source) from the destination; neither goes
 * past the shorter of the two. */
QVX_API void CopyVectorIP(const double *source, double *destination) QVX_NOEXCEPT;
QVX_API void CopyVectorIPC(const Complex *source, Complex *destination) QVX_NOEXCEPT;
QVX_API void CopyVectorIPL(const int32_t *source, int32_t *destination) QVX_NOEXCEPT;
QVX_API void CopyMatrixIP(double **source, double **destination) QVX_NOEXCEPT;
QVX_API void CopyMatrixIPC(Complex **source, Complex **destination) QVX_NOEXCEPT;
QVX_API void CopyMatrixIPL(int32_t **source, int32_t **destination) QVX_NOEXCEPT;
QVX_API void VectorCopy(double *destination, const double *source) QVX_NOEXCEPT;
QVX_API void VectorCopyC(Complex *destination, const Complex *source) QVX_NOEXCEPT;
QVX_API void VectorCopyF(float *destination, const float *source) QVX_NOEXCEPT;
QVX_API void VectorCopyI(int32_t *destination, const int32_t *source) QVX_NOEXCEPT;
QVX_API void VectorCopyL(int32_t *destination, const int32_t *source) QVX_NOEXCEPT;
QVX_API void MatrixCopy(double **destination, double **source) QVX_NOEXCEPT;
QVX_API void MatrixCopyC(Complex **destination, Complex **source) QVX_NOEXCEPT;
QVX_API void MatrixCopyF(float **destination, float **source) QVX_NOEXCEPT;
QVX_API void MatrixCopyI(int32_t **destination, int32_t **source) QVX_NOEXCEPT;
QVX_API void MatrixCopyL(int32_t **destination, int32_t **source) QVX_NOEXCEPT;

/* Comparisons: 1 or 0. Floating elements are equal when hypot(x, y) is 0 or
 * |x - y| / hypot(x, y) <= 1e-15 (complex: part by part). The length comes
 * from the first argument; an empty first argument gives 1. */
QVX_API int32_t EqualVectors(const double *a, const double *b) QVX_NOEXCEPT;
QVX_API int32_t EqualVectorsC(const Complex *a, const Complex *b) QVX_NOEXCEPT;
QVX_API int32_t EqualVectorsF(const float *a, const float *b) QVX_NOEXCEPT;
QVX_API int32_t EqualVectorsI(const int32_t *a, const int32_t *b) QVX_NOEXCEPT;
QVX_API int32_t EqualVectorsL(const int32_t *a, const int32_t *b) QVX_NOEXCEPT;
QVX_API int32_t EqualVectorsS(char **a, char **b) QVX_NOEXCEPT;
QVX_API int32_t EqualMatrices(double **a, double **b) QVX_NOEXCEPT;
QVX_API int32_t EqualMatricesC(Complex **a, Complex **b) QVX_NOEXCEPT;
QVX_API int32_t EqualMatricesF(float **a, float **b) QVX_NOEXCEPT;
QVX_API int32_t EqualMatricesI(int32_t **a, int32_t **b) QVX_NOEXCEPT;
QVX_API int32_t EqualMatricesL(int32_t **a, int32_t **b) QVX_NOEXCEPT;
QVX_API int32_t EqualMatricesS(char ***a, char ***b) QVX_NOEXCEPT;
QVX_API int32_t EqualRows(double **m, int32_t r1, int32_t r2) QVX_NOEXCEPT;  /* rows r1, r2 of m */

/* Real forms and products over containers. */
QVX_API double  *AbsCV(const Complex *v) QVX_NOEXCEPT;
QVX_API double **AbsCM(Complex **m) QVX_NOEXCEPT;
QVX_API double **ReM(Complex **m) QVX_NOEXCEPT;
QVX_API double  *MulMV(double **m, const double *v) QVX_NOEXCEPT;  /* sum over j of m[j][i] v[j] */
QVX_API void     PrintMatrix(double **m) QVX_NOEXCEPT;             /* one line a row, "%.3E " */

/* Text containers. StringMatrix(c, r): c StringVectors of r strings "0" and
 * a terminator; StringMatrixVector(n): n StringMatrix(1, 1) and a
 * terminator. Lengths are found by scanning. */
QVX_API char   **StringVector2(char *a, char *b) QVX_NOEXCEPT;  /* takes ownership of a and b */
QVX_API char   **StringVector3(const char *a, const char *b, const char *c) QVX_NOEXCEPT;  /* copies */
QVX_API char   **CopyStringVector(char **v) QVX_NOEXCEPT;
QVX_API char    *StringSV(char **v, const char *separator) QVX_NOEXCEPT;  /* elements joined */
QVX_API char  ***StringMatrix(int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API int32_t  StringMatrixCols(char ***m) QVX_NOEXCEPT;
QVX_API int32_t  StringMatrixRows(char ***m) QVX_NOEXCEPT;
QVX_API char  ***CopyStringMatrix(char ***m) QVX_NOEXCEPT;
QVX_API void     FreeStringMatrix(char ***m) QVX_NOEXCEPT;
QVX_API char  ***InsertElementSM(char ***m, char **v, int32_t pos) QVX_NOEXCEPT;  /* v as column pos */
QVX_API char ****StringMatrixVector(int32_t n) QVX_NOEXCEPT;
QVX_API int32_t  StringMatrixVectorLength(char ****v) QVX_NOEXCEPT;
QVX_API char ****CopyStringMatrixVector(char ****v) QVX_NOEXCEPT;
QVX_API void     FreeStringMatrixVector(char ****v) QVX_NOEXCEPT;

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

/* Shortest faithful text of x with the given significant digits. */
QVX_API char   *DoubleString(double x, int32_t digits) QVX_NOEXCEPT;
/* @@NUMTEXT@@ */

/* @@STRINGS@@ */

/* @@TEXTFILES@@ */

/* @@HASHES@@ */

/* ======================================================================== */
/* Scalar maths                                                             */
/* ======================================================================== */

/* Complex value pairs. Functions described over the two parts of one number
 * take (x, y) = (real, imaginary); the others take Complex values. */
QVX_API Complex ComplexR(double re, double im) QVX_NOEXCEPT;
QVX_API Complex ComplexP(double modulus, double phase) QVX_NOEXCEPT;
QVX_API Complex CZ(void) QVX_NOEXCEPT;
QVX_API Complex C1(void) QVX_NOEXCEPT;
QVX_API Complex CI(void) QVX_NOEXCEPT;
QVX_API Complex II(void) QVX_NOEXCEPT;
QVX_API Complex AddC(Complex a, Complex b) QVX_NOEXCEPT;
QVX_API Complex SubC(Complex a, Complex b) QVX_NOEXCEPT;
QVX_API Complex MulC(Complex a, Complex b) QVX_NOEXCEPT;
QVX_API Complex MulCR(Complex a, double r) QVX_NOEXCEPT;
QVX_API Complex DivC(Complex a, Complex b) QVX_NOEXCEPT;
QVX_API Complex DivCR(Complex a, double r) QVX_NOEXCEPT;
QVX_API Complex InvC(Complex z) QVX_NOEXCEPT;
QVX_API Complex ConjC(Complex z) QVX_NOEXCEPT;
QVX_API double  RealC(Complex z) QVX_NOEXCEPT;
QVX_API double  ImagC(Complex z) QVX_NOEXCEPT;
QVX_API Complex Add3C(Complex a, Complex b, Complex c) QVX_NOEXCEPT;
QVX_API Complex Mul3C(Complex a, Complex b, Complex c) QVX_NOEXCEPT;
QVX_API Complex AddNC(int32_t n, ...) QVX_NOEXCEPT;      /* sum of n Complex arguments */
QVX_API Complex SqrC(Complex z) QVX_NOEXCEPT;
QVX_API Complex SqrtC(Complex z) QVX_NOEXCEPT;
QVX_API double  AbsC(double x, double y) QVX_NOEXCEPT;
QVX_API double  PhaC(double x, double y) QVX_NOEXCEPT;
QVX_API Complex ExpC(double t) QVX_NOEXCEPT;             /* (cos t, sin t) */
QVX_API Complex ExpCC(double x, double y) QVX_NOEXCEPT;  /* e^(x + iy) */
QVX_API Complex LogC(double x, double y) QVX_NOEXCEPT;
QVX_API Complex Log10C(double x, double y) QVX_NOEXCEPT;
QVX_API Complex PowC(Complex z, Complex w) QVX_NOEXCEPT;
QVX_API Complex PowCR(Complex z, double e) QVX_NOEXCEPT;
QVX_API Complex PowRC(double x, Complex w) QVX_NOEXCEPT;
QVX_API Complex PowRR(double x, double y) QVX_NOEXCEPT;
QVX_API Complex PowIR(int32_t x, double y) QVX_NOEXCEPT;
QVX_API Complex SinC(double x, double y) QVX_NOEXCEPT;
QVX_API Complex CosC(double x, double y) QVX_NOEXCEPT;
QVX_API Complex TanC(double x, double y) QVX_NOEXCEPT;
QVX_API Complex SinhC(double x, double y) QVX_NOEXCEPT;
QVX_API Complex CoshC(double x, double y) QVX_NOEXCEPT;
QVX_API Complex TanhC(double x, double y) QVX_NOEXCEPT;
QVX_API Complex ArcsinC(double x, double y) QVX_NOEXCEPT;
QVX_API Complex ArccosC(double x, double y) QVX_NOEXCEPT;
QVX_API Complex ArctanC(double x, double y) QVX_NOEXCEPT;
QVX_API Complex ArcsinhC(double x, double y) QVX_NOEXCEPT;
QVX_API Complex ArccoshC(double x, double y) QVX_NOEXCEPT;
QVX_API Complex ArctanhC(double x, double y) QVX_NOEXCEPT;

/* Rounding family: Floor and FractionalPart truncate toward zero, Round sends
 * halves away from zero, Ceiling is trunc(x) + 1 for any non-integer. */
QVX_API double  Round(double x) QVX_NOEXCEPT;
QVX_API double  Floor(double x) QVX_NOEXCEPT;
QVX_API double  Ceiling(double x) QVX_NOEXCEPT;
QVX_API double  FractionalPart(double x) QVX_NOEXCEPT;
QVX_API double  Sign(double x) QVX_NOEXCEPT;
QVX_API double  Sqr(double x) QVX_NOEXCEPT;
QVX_API double  Sqrt(double x) QVX_NOEXCEPT;
QVX_API int32_t IsINF(double x) QVX_NOEXCEPT;
QVX_API int32_t IsNAN(double x) QVX_NOEXCEPT;
QVX_API int     CompareFloats(const void *a, const void *b) QVX_NOEXCEPT;  /* qsort order of doubles */
QVX_API double  Min2(double a, double b) QVX_NOEXCEPT;
QVX_API double  Min3(double a, double b, double c) QVX_NOEXCEPT;
QVX_API double  Max2(double a, double b) QVX_NOEXCEPT;
QVX_API double  Max3(double a, double b, double c) QVX_NOEXCEPT;
QVX_API int32_t Min2L(int32_t a, int32_t b) QVX_NOEXCEPT;
QVX_API int32_t Min3L(int32_t a, int32_t b, int32_t c) QVX_NOEXCEPT;
QVX_API int32_t Max2L(int32_t a, int32_t b) QVX_NOEXCEPT;
QVX_API int32_t Max3L(int32_t a, int32_t b, int32_t c) QVX_NOEXCEPT;

/* Reductions of a Vector (0 for an empty one). */
QVX_API double  Min(const double *v) QVX_NOEXCEPT;
QVX_API double  Max(const double *v) QVX_NOEXCEPT;
QVX_API double  Mean(const double *v) QVX_NOEXCEPT;
QVX_API double  Median(const double *v) QVX_NOEXCEPT;

QVX_API double  GreatestCommonDivisor(double a, double b) QVX_NOEXCEPT;  /* of the truncated magnitudes */
QVX_API double **PrimeFactors2(double n) QVX_NOEXCEPT;  /* Matrix(2, k): primes, exponents */

/* Random numbers. The cell is the generator state; a value below 1 reseeds. */
QVX_API double  Ran2(int32_t *cell) QVX_NOEXCEPT;       /* in (0, 0.99999988] */
QVX_API double  RandomReal(double a, double b, int32_t *cell) QVX_NOEXCEPT;
QVX_API int32_t RandomInteger(int32_t low, int32_t high, int32_t *cell) QVX_NOEXCEPT;  /* in [low, high] */

/* @@SCALAR@@ */

#ifdef __cplusplus
}
#endif
#endif /* LIBQUORVEX_H */
