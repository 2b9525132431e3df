/*
 * libquorvex: the engine of a scientific calculator and numerical toolbox.
 *
 * This is the only public header. It is plain C99 that also compiles as C++.
 * Every function declared here is exported with an undecorated C name.
 *
 * Life cycle. A host calls InitializeGlobals once per process, creates a
 * top-level scope with InitializeTopLevelEnvironment, hands it any number of
 * scripts with QuorvexScript, and ends with TerminateEnvironment for each
 * scope and TerminateGlobals once:
 *
 *     InitializeGlobals(NULL, 0);
 *     Environment *env = InitializeTopLevelEnvironment(NULL);
 *     char *answer = QuorvexScript("x=2", env, 1);   -> "x <- 2"
 *     FreeString(answer);
 *     TerminateEnvironment(env);
 *     TerminateGlobals();
 *
 * Who frees what. Every text, container and bitmap returned belongs to the
 * caller and is freed with the matching Free... function: texts with
 * FreeString (which wipes them with zeros first), a Vector with FreeVector, a
 * Matrix with FreeMatrix, a StringVector with FreeStringVector, plain blocks
 * (bitmaps, PlotBitmapPair, complex cells) with Free. Arguments are borrowed
 * unless a declaration says it takes ownership.
 *
 * Threads. The engine starts no threads and takes no locks. One tree of
 * Environments (a top-level scope and everything made from it) belongs to
 * one host thread at a time. The single exception is SetCancelFlag, which
 * another thread may call while a script runs.
 *
 * Cancelling. The cancel flag is a byte shared by a tree of scopes. The host
 * sets it (SetCancelFlag(env, 1)); statements, loops, plot sampling and long
 * big-number work poll it and return ">evaluation_aborted<" or stop early.
 * The engine never clears it: the host resets it (SetCancelFlag(env, 0))
 * before the next script.
 *
 * Conventions of the toolkit: numeric vectors keep their length in element 0
 * and data in 1..n; a matrix m is an array of column pointers and m[j][i] is
 * row i, column j, both 1-based; text vectors are 0-based and end with an
 * empty string. Failures give null, 0, -1.0 or an empty container; the
 * language answers with sentinel texts such as ">invalid_expression<".
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

/* Callbacks of the numeric toolkit. Functions of one variable come plain or,
 * in the P forms, with a pointer passed through unchanged. Functions of
 * several variables (fields, curves, surfaces, right-hand sides of ODEs)
 * always take that pointer; their points and results are Vectors (length in
 * element 0), the result Vector allocated by the caller with the length the
 * function documents. */
typedef double  (*RealFn)(double x);
typedef double  (*RealFnP)(double x, void *params);
typedef Complex (*ComplexFn)(double x);
typedef Complex (*ComplexFnP)(double x, void *params);
typedef double  (*RealFn2)(double x, double y, void *params);
typedef double  (*ScalarFieldFn)(const double *r, void *params);
typedef void    (*VectorFieldFn)(const double *r, double *out, void *params);   /* out as long as r */
typedef void    (*CurveFn)(double t, double *r, void *params);                  /* fills r */
typedef void    (*SurfaceFn)(double u, double v, double *r, void *params);      /* fills r, length 3 */
typedef void    (*OdeFn)(double t, const double *y, double *dydt, void *params);    /* dydt as long as y */
typedef void    (*OdeFnC)(double t, const Complex *y, Complex *dydt, void *params);

/* ======================================================================== */
/* Engine: life cycle and scripts                                           */
/* ======================================================================== */

typedef struct Environment Environment;   /* opaque to hosts */

/* Life cycle: InitializeGlobals once, then any number of top-level scopes.
 * QuorvexScript answers one script with a new text (FreeString); errors come
 * back as sentinels such as ">invalid_expression<". A host passes a non-zero
 * clearLiterals for its own scripts. SetCancelFlag may be called from another
 * thread while a script runs; the engine never resets the flag. */
QVX_API void         InitializeGlobals(const char *initScriptOrPath, int32_t isFile) QVX_NOEXCEPT;
QVX_API void         TerminateGlobals(void) QVX_NOEXCEPT;
QVX_API Environment *InitializeTopLevelEnvironment(const char *scopeText) QVX_NOEXCEPT;   /* may be null */
QVX_API void         TerminateEnvironment(Environment *env) QVX_NOEXCEPT;
QVX_API Environment *CopyEnvironment(Environment *source, Environment *parent, int32_t copyHistory, int32_t keepOwner) QVX_NOEXCEPT;
QVX_API void         AddEnvironment(Environment *target, Environment *source, int32_t withHistory) QVX_NOEXCEPT;
QVX_API char        *QuorvexScript(const char *script, Environment *env, int32_t clearLiterals) QVX_NOEXCEPT;
QVX_API char        *RestoreDefaultAssignments(Environment *env, int32_t flags) QVX_NOEXCEPT;
QVX_API char        *PrintTopLevelEnvironment(Environment *env, int32_t flag, int32_t showFunctions) QVX_NOEXCEPT;

QVX_API void          SetCancelFlag(Environment *env, unsigned char value) QVX_NOEXCEPT;
QVX_API unsigned char GetCancelFlag(Environment *env) QVX_NOEXCEPT;
QVX_API void          SetSignificantDigits(Environment *env, int32_t digits) QVX_NOEXCEPT;
QVX_API int32_t       GetSignificantDigits(Environment *env) QVX_NOEXCEPT;
QVX_API void          SetSeed(Environment *env, int32_t seed) QVX_NOEXCEPT;
QVX_API unsigned char SetUpdateHistoryFlag(Environment *env, unsigned char flag) QVX_NOEXCEPT;

QVX_API void SetInitScript(const char *text) QVX_NOEXCEPT;
QVX_API void SetLocalPath(const char *path) QVX_NOEXCEPT;
QVX_API void SetLocalOutPath(const char *path) QVX_NOEXCEPT;
QVX_API void SetPlatformCode(int32_t code) QVX_NOEXCEPT;
QVX_API void SetInstructions(const char *text) QVX_NOEXCEPT;
QVX_API void SetGraphingInstructions(const char *text) QVX_NOEXCEPT;
QVX_API void SetProgrammingInstructions(const char *text) QVX_NOEXCEPT;
QVX_API void SetFourierInstructions(const char *text) QVX_NOEXCEPT;

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

/* The list always holds two empty sentinel entries; positions count from 0
 * at the first user entry. Texts returned are new (FreeString /
 * FreeStringVector). */
QVX_API HistoryList *GetHistory(Environment *env) QVX_NOEXCEPT;
QVX_API void   AppendHistoryItem(Environment *env, const char *input, const char *output) QVX_NOEXCEPT;
QVX_API void   RemoveHistoryItem(Environment *env, int32_t position) QVX_NOEXCEPT;
QVX_API void   SetLastHistoryItemOutput(Environment *env, const char *output) QVX_NOEXCEPT;
QVX_API void   ReinitializeHistory(Environment *env) QVX_NOEXCEPT;
QVX_API void   ClearEnvironmentHistory(Environment *env) QVX_NOEXCEPT;
QVX_API void   HistoryIteratorSeekEnd(Environment *env) QVX_NOEXCEPT;
QVX_API void   ClearEnvironmentHistoryEntry(HistoryItem *item) QVX_NOEXCEPT;   /* frees its two texts */
QVX_API char  *EnvironmentHistoryToString(Environment *env) QVX_NOEXCEPT;
QVX_API char **EnvironmentHistoryElementsToStringVector(Environment *env, int32_t selector) QVX_NOEXCEPT;

/* ======================================================================== */
/* Help texts and listings                                                  */
/* ======================================================================== */

QVX_API char *About(void) QVX_NOEXCEPT;

/* Help rows by label: a StringVector of usage, help text and "" ("<unknown>"
 * twice for a label not listed). Labels come sorted; sizes are row counts.
 * The Instructions texts are copies of what the Set...Instructions calls
 * stored. All results are new (FreeStringVector / FreeString). */
QVX_API char  **GetPredefinedFunctionInfo(const char *label) QVX_NOEXCEPT;
QVX_API char  **GetEnvironmentFunctionInfo(const char *label) QVX_NOEXCEPT;
QVX_API char  **GetProgrammingCommandInfo(const char *label) QVX_NOEXCEPT;
QVX_API char  **GetPredefinedFunctionLabels(void) QVX_NOEXCEPT;
QVX_API char  **GetEnvironmentFunctionLabels(void) QVX_NOEXCEPT;
QVX_API char  **GetProgrammingCommandLabels(void) QVX_NOEXCEPT;
QVX_API int32_t GetPredefinedFunctionListSize(void) QVX_NOEXCEPT;
QVX_API int32_t GetEnvironmentFunctionListSize(void) QVX_NOEXCEPT;
QVX_API int32_t GetProgrammingCommandListSize(void) QVX_NOEXCEPT;
QVX_API char   *Instructions(void) QVX_NOEXCEPT;
QVX_API char   *InstructionsGraphing(void) QVX_NOEXCEPT;
QVX_API char   *InstructionsProgramming(void) QVX_NOEXCEPT;
QVX_API char   *InstructionsFourier(void) QVX_NOEXCEPT;

/* ======================================================================== */
/* Plots                                                                    */
/* ======================================================================== */

/* A Font is a dictionary tree (RBST, below) whose keys are one-character
 * strings and whose values are glyph RGB matrices. RGB matrices are
 * MatrixUInt32 blocks: m[x][y], x = 1..width, y = 1..height from the top,
 * each pixel 0x00RRGGBB. */
typedef struct RBST Font;  /* keys: one-character strings; values: glyph RGB matrices */
typedef struct PlotBitmapPair { unsigned char *first; unsigned char *second; } PlotBitmapPair;

/* Plots of an expression text, as BMP images in memory (see EncodeBitmap).
 * The scope is only read: sampling runs in a scratch copy of it, and its
 * cancel flag stops the sampling. Every failure gives null; free the pair
 * and both images with Free. GeneratePlotBitmaps: first real (0x7fff9f) and
 * imaginary part (0x7fffff), second modulus (0xb2ff66) and unwrapped phase
 * (0xffd866); clamps hold four bounds (real, imaginary, modulus, phase) and
 * may be null. The 2D and complex-plane forms give surfaces of the real
 * (first) and imaginary part (second). The parametric form samples "fx,fy"
 * over its one unknown and draws the curve of the two real parts. */
/* Plot options, process-wide, a set of the bits below; 0 at start, when
 * every picture is drawn as described above.
 * QVX_PLOT_ROUND_TICKS: ticks and labels at round values (1, 2 or 5 times a
 * power of ten) instead of the binary grid and its end labels.
 * QVX_PLOT_HIDE_ZERO_SECOND: a second curve (imaginary part, phase) whose
 * finite values are all 0, or below 1e-12 of the first curve's greatest
 * magnitude (rounding), is neither drawn nor counted in the value range.
 * QVX_PLOT_LEGEND: when a picture shows two curves, a box in its top right
 * corner names them ("real part", "imaginary part"; "modulus", "phase"). */
#define QVX_PLOT_ROUND_TICKS      1
#define QVX_PLOT_HIDE_ZERO_SECOND 2
#define QVX_PLOT_LEGEND           4
QVX_API void    SetPlotOptions(int32_t options) QVX_NOEXCEPT;
QVX_API int32_t GetPlotOptions(void) QVX_NOEXCEPT;

QVX_API PlotBitmapPair *GeneratePlotBitmaps(const char *text, double x1, double x2, int32_t samples,
                                            const double *lowerClamps, const double *upperClamps,
                                            int32_t width, int32_t height, Font *font, Environment *env) QVX_NOEXCEPT;
QVX_API PlotBitmapPair *GeneratePlotBitmaps2D(const char *text, double x1, double x2, double y1, double y2,
                                              int32_t nx, int32_t ny, int32_t width, int32_t height,
                                              Font *font, Environment *env) QVX_NOEXCEPT;   /* first: real part, second: imaginary */
QVX_API PlotBitmapPair *GeneratePlotBitmapsComplex(const char *text, double x1, double x2, double y1, double y2,
                                                   int32_t nx, int32_t ny, int32_t width, int32_t height,
                                                   Font *font, Environment *env) QVX_NOEXCEPT;
QVX_API unsigned char  *GenerateParametricPlotBitmap(const char *text, double t1, double t2, int32_t samples,
                                                     int32_t width, int32_t height, Font *font,
                                                     Environment *env) QVX_NOEXCEPT;

/* Fourier plots of a function of one unknown sampled at a power of two
 * (16 up to 16384, at least `samples`) of points over one period [x1, x2),
 * x1 != x2 in either order; both pictures show real (0x7fff9f) and
 * imaginary part (0x7fffff). GenerateFourierPlotBitmaps: first the signal
 * ("Signal S: " and the text), second its transform over the frequencies
 * (k - (n/2+1))/(x2 - x1), scaled and phased to approximate the integral of
 * S(x) exp(-2 pi i f x) dx ("Fourier Transform: FT[S]").
 * GenerateSpectrallyFilteredPlotBitmaps: first the signal, second the
 * inverse transform of the transform multiplied by the filter text, a
 * function of frequency ("Inverse Fourier Transform of (filter)*FT[S]").
 * Null for what can't be sampled, or when the env's cancel flag is set. */
QVX_API PlotBitmapPair *GenerateFourierPlotBitmaps(const char *text, double x1, double x2, int32_t samples,
                                                   int32_t width, int32_t height, Font *font,
                                                   Environment *env) QVX_NOEXCEPT;
QVX_API PlotBitmapPair *GenerateSpectrallyFilteredPlotBitmaps(const char *text, const char *filter, double x1,
                                                              double x2, int32_t samples, int32_t width,
                                                              int32_t height, Font *font,
                                                              Environment *env) QVX_NOEXCEPT;

/* ======================================================================== */
/* Bitmaps and fonts                                                        */
/* ======================================================================== */

struct MemFile;

/* A bitmap is one block laid out as a 24-bit BMP file: 54 header bytes, then
 * rows of width*3 bytes padded with zeros to a multiple of 4. With a
 * platform code below 65536 the rows run from the bottom (y = height) up and
 * pixels are B, G, R; from 65536 on (the default, 666666) rows run from the
 * top (y = 1) and pixels are R, G, B. Free with Free; RGB matrices with
 * FreeMatrixUInt32.
 * LoadBitmapToRGBMatrix reads a bottom-up 24-bit BMP file; null when the
 * file can't be opened or is too short for the size it states.
 * DownSampleRGBMatrix keeps every factor-th pixel in both directions.
 * Fonts are read with the tree stream form; an unreadable file gives the
 * empty font. Drawing clips to the matrix; a text is centred on x with its
 * top at row y, and a character the font lacks is drawn as two hex digits. */
QVX_API unsigned char *DummyBitmap(int32_t width, int32_t height) QVX_NOEXCEPT;
QVX_API unsigned char *EncodeBitmap(uint32_t **rgbMatrix) QVX_NOEXCEPT;
QVX_API uint32_t     **LoadBitmapToRGBMatrix(const char *path) QVX_NOEXCEPT;
QVX_API uint32_t     **DownSampleRGBMatrix(uint32_t **matrix, int32_t factor) QVX_NOEXCEPT;
QVX_API Font          *LoadFontFromFile(const char *path) QVX_NOEXCEPT;
QVX_API Font          *LoadFontFromStream(struct MemFile *stream) QVX_NOEXCEPT;
QVX_API void           FreeFont(Font *font) QVX_NOEXCEPT;
QVX_API void           PutSquare(int32_t x, int32_t y, uint32_t **matrix, int32_t width, int32_t height,
                                 uint32_t colour, int32_t radius) QVX_NOEXCEPT;
QVX_API void           DrawLine(int32_t x1, int32_t y1, int32_t x2, int32_t y2, uint32_t **matrix, int32_t height,
                                uint32_t colour, double thickness) QVX_NOEXCEPT;
QVX_API void           DrawText(const char *text, uint32_t **matrix, int32_t x, int32_t y, uint32_t colour,
                                Font *font) QVX_NOEXCEPT;
QVX_API int32_t        MeasureAverageGlyphWidth(Font *font) QVX_NOEXCEPT;

/* ======================================================================== */
/* Dictionary tree and value trees                                          */
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

/* Text-keyed red-black tree. An empty position holds a sentinel node (both
 * children null); a tree emptied with RBSTFreeValues/RBSTFreeNodes must get a
 * new record from RBSTInitialize before it is used again. */
QVX_API RBST      RBSTInitialize(FreeValueFn f, ReadValueFn r, WriteValueFn w, CopyValueFn c) QVX_NOEXCEPT;
QVX_API RBSTNode *RBSTFind(RBSTNode *root, const char *key) QVX_NOEXCEPT;
QVX_API void      RBSTInsert(RBST *tree, RBSTNode *root, const char *key, void *value) QVX_NOEXCEPT;
QVX_API int32_t   RBSTDelete(RBST *tree, RBSTNode *root, const char *key) QVX_NOEXCEPT;
QVX_API RBST      RBSTCopy(RBST *tree) QVX_NOEXCEPT;
QVX_API void      RBSTFreeValues(RBST *tree, RBSTNode *node) QVX_NOEXCEPT;
QVX_API void      RBSTFreeNodes(RBST *tree, RBSTNode *node) QVX_NOEXCEPT;
QVX_API void      RBSTMerge(RBST *destination, RBST *source, RBSTNode *source_root, int32_t overwrite) QVX_NOEXCEPT;
QVX_API void      RBSTContainsAll(RBSTNode *node, RBSTNode *other_root, int32_t *flag) QVX_NOEXCEPT;
QVX_API void      RBSTToList(RBST *tree, RBSTNode *node, KeyList *list) QVX_NOEXCEPT;
QVX_API void      RBSTWrite(RBST *tree, RBSTNode *root, void *stream, StreamMode mode) QVX_NOEXCEPT;
QVX_API void      RBSTRead(RBST *tree, void *stream, StreamMode mode) QVX_NOEXCEPT;

/* Integer-keyed sibling: a sentinel is a node with key 0, so 0 cannot be
 * stored. Values are freed with freeRBNodeValueByteArray. */
QVX_API IntRBST      IntRBSTInitialize(void) QVX_NOEXCEPT;
QVX_API void         IntRBSTInsert(IntRBST *tree, IntRBSTNode *root, int32_t key, void *value) QVX_NOEXCEPT;
QVX_API IntRBSTNode *IntRBSTFind(IntRBSTNode *root, int32_t key) QVX_NOEXCEPT;
QVX_API void         IntRBSTFreeValues(IntRBST *tree, IntRBSTNode *node) QVX_NOEXCEPT;
QVX_API void         IntRBSTFreeNodes(IntRBST *tree, IntRBSTNode *node) QVX_NOEXCEPT;
QVX_API void         freeRBNodeValueByteArray(void *value) QVX_NOEXCEPT;

/* Ordered companion list of key/value pairs. */
QVX_API void KeyListPushFront(KeyList *list, const char *key, void *value) QVX_NOEXCEPT;
QVX_API void KeyListClear(KeyList *list, int32_t free_values) QVX_NOEXCEPT;
QVX_API void KeyListCopyRange(KeyList *list, KeyListEntry *first, KeyListEntry *end, KeyList *out) QVX_NOEXCEPT;
QVX_API void KeyListWrite(KeyList *list, KeyListEntry *first, KeyListEntry *end, int32_t count,
                          void *stream, StreamMode mode) QVX_NOEXCEPT;
QVX_API void KeyListRead(KeyList *list, void *stream, StreamMode mode) QVX_NOEXCEPT;

/* Value trees: a QorTree is an RBST whose values are GenericValues, each
 * payload tagged with the text label of its type; a TypeRecord holds the
 * four callbacks of one type. */
typedef RBST QorTree;
typedef struct GenericValue { void *value; char *type; } GenericValue;
typedef struct TypeRecord { FreeValueFn free; WriteValueFn write; ReadValueFn read; CopyValueFn copy; } TypeRecord;

/* ======================================================================== */
/* MemFile                                                                  */
/* ======================================================================== */

typedef struct MemFile { unsigned char *buffer; uint32_t size; uint32_t position; } MemFile;

/* Growable memory buffer with a position; the memory side of every stream
 * (StreamMode other than 1). While writing, position is the content length. */
QVX_API MemFile       *MemOpen(int32_t size) QVX_NOEXCEPT;
QVX_API MemFile       *MemWrapperOpen(unsigned char *buffer, uint32_t size) QVX_NOEXCEPT;
QVX_API void           MemWrapperClose(MemFile *m) QVX_NOEXCEPT;
QVX_API void           MemClose(MemFile *m) QVX_NOEXCEPT;
QVX_API size_t         MemRead(void *destination, size_t size, size_t count, MemFile *m) QVX_NOEXCEPT;
QVX_API size_t         MemWrite(const void *source, size_t size, size_t count, MemFile *m) QVX_NOEXCEPT;
QVX_API MemFile       *MemFRead(FILE *file) QVX_NOEXCEPT;
QVX_API size_t         MemFWrite(MemFile *m, FILE *file) QVX_NOEXCEPT;
QVX_API unsigned char *MemGetBufHandle(MemFile *m) QVX_NOEXCEPT;
QVX_API uint32_t       MemGetBufPos(MemFile *m) QVX_NOEXCEPT;
QVX_API uint32_t       MemGetBufSize(MemFile *m) QVX_NOEXCEPT;
QVX_API void           MemSetBufPos(MemFile *m, uint32_t position) QVX_NOEXCEPT;
QVX_API int32_t        MemSetRelativeBufPos(MemFile *m, int32_t offset) QVX_NOEXCEPT;
QVX_API unsigned char *MemDump(MemFile *m, uint32_t from, uint32_t to) QVX_NOEXCEPT;
QVX_API MemFile       *CopyMemFile(MemFile *m) QVX_NOEXCEPT;
QVX_API void           WriteMemFile(MemFile *m, void *stream, StreamMode mode) QVX_NOEXCEPT;
QVX_API MemFile       *ReadMemFile(void *stream, StreamMode mode) QVX_NOEXCEPT;

/* ======================================================================== */
/* Big numbers                                                              */
/* ======================================================================== */

typedef struct BitArray { uint64_t bits; uint64_t words; uint64_t *data; } BitArray;
typedef struct BitArrayFloat { BitArray *integer; BitArray *fraction; int8_t sign; } BitArrayFloat;

/* BitArray: unsigned integer of any length; bit i in data[i / 64], word 0
 * least significant; `bits` counts leading zeros too. Every returned array or
 * record is new and the caller's (FreeBitArray / FreeBitArrayFloat). Long
 * operations take an abort flag (may be null); once set they return early
 * with a value of no use. Digit arguments of BitArrayFloat count 4 bits a digit. */
QVX_API BitArray *InitializeBitArray(uint64_t bits) QVX_NOEXCEPT;
QVX_API BitArray *InitializeBitArrayFromUInt64(uint64_t x) QVX_NOEXCEPT;
QVX_API BitArray *InitializeBitArrayFromByteArray(const unsigned char *bytes, uint64_t count) QVX_NOEXCEPT; /* byte 0 least significant; reduced */
QVX_API void      FreeBitArray(BitArray *a) QVX_NOEXCEPT;
QVX_API BitArray *CopyBitArray(BitArray *a) QVX_NOEXCEPT;
QVX_API void      SetBit(BitArray *a, uint64_t i) QVX_NOEXCEPT;
QVX_API void      ClearBit(BitArray *a, uint64_t i) QVX_NOEXCEPT;
QVX_API uint64_t  GetBit(BitArray *a, uint64_t i) QVX_NOEXCEPT;
QVX_API void      SetAllBits(BitArray *a) QVX_NOEXCEPT;
QVX_API void      ClearAllBits(BitArray *a) QVX_NOEXCEPT;
QVX_API void      SetAllBitsSieve(BitArray *a) QVX_NOEXCEPT;
QVX_API void      CleanBitArray(BitArray *a) QVX_NOEXCEPT;
QVX_API BitArray *ReduceBitArray(BitArray **a) QVX_NOEXCEPT;
QVX_API int32_t   TestZeroBitArray(BitArray *a) QVX_NOEXCEPT;
QVX_API int32_t   TestUnitBitArray(BitArray *a) QVX_NOEXCEPT;
QVX_API int32_t   TestEqualBitArrays(BitArray *a, BitArray *b) QVX_NOEXCEPT;
QVX_API int32_t   CompareBitArrays(BitArray *a, BitArray *b) QVX_NOEXCEPT;
QVX_API BitArray *AndBitArrays(BitArray *a, BitArray *b) QVX_NOEXCEPT;
QVX_API BitArray *OrBitArrays(BitArray *a, BitArray *b) QVX_NOEXCEPT;
QVX_API BitArray *XorBitArrays(BitArray *a, BitArray *b) QVX_NOEXCEPT;
QVX_API BitArray *NegateBitArray(BitArray *a) QVX_NOEXCEPT;   /* new array */
QVX_API BitArray *ReverseBitArray(BitArray *a) QVX_NOEXCEPT;  /* new array */
QVX_API unsigned char ReverseByteBits(unsigned char x) QVX_NOEXCEPT;
QVX_API uint32_t  ReverseUInt32Bits(uint32_t x) QVX_NOEXCEPT;
QVX_API uint64_t  ReverseUInt64Bits(uint64_t x) QVX_NOEXCEPT;
QVX_API BitArray *BitStringToBitArray(const char *text) QVX_NOEXCEPT;
QVX_API char     *PrintBitArray(BitArray *a) QVX_NOEXCEPT;
QVX_API void      SetBitsFromChar(BitArray *a, uint64_t i, unsigned char c) QVX_NOEXCEPT;
QVX_API void      SetBitsFromCharBitPos(BitArray *a, uint64_t i, unsigned char c) QVX_NOEXCEPT;
QVX_API void      SetBitsFromUInt64(BitArray *a, uint64_t i, uint64_t x) QVX_NOEXCEPT;
QVX_API uint32_t  GetInt32(BitArray *a, uint64_t i) QVX_NOEXCEPT;
QVX_API uint64_t  GetInt64(BitArray *a, uint64_t i) QVX_NOEXCEPT;
QVX_API uint64_t  GetInt64BitPos(BitArray *a, uint64_t i) QVX_NOEXCEPT;
QVX_API void      ShiftBitsLeft(BitArray *a, uint64_t n) QVX_NOEXCEPT;
QVX_API void      ShiftBitsLeftAndResize(BitArray *a, uint64_t n) QVX_NOEXCEPT;
QVX_API void      ShiftBitsLeftAndResizeWithLeadingZeros(BitArray *a, uint64_t n) QVX_NOEXCEPT;
QVX_API void      ShiftBitsRight(BitArray *a, uint64_t n) QVX_NOEXCEPT;
QVX_API void      AddLeadingZeroBits(BitArray *a, uint64_t n) QVX_NOEXCEPT;
QVX_API void      AddTrailingZeroBits(BitArray *a, uint64_t n) QVX_NOEXCEPT;
QVX_API uint64_t  RemoveTrailingZeroBits(BitArray *a) QVX_NOEXCEPT;  /* returns bits removed */
QVX_API uint64_t  TrimLowerZeroBits(BitArray *a) QVX_NOEXCEPT;
QVX_API uint64_t  CountLeadingZeroBits(uint64_t x) QVX_NOEXCEPT;
QVX_API uint64_t  GetLeadingZeroBits(BitArray *a) QVX_NOEXCEPT;
QVX_API BitArray *LowerBits(BitArray *a, uint64_t n) QVX_NOEXCEPT;
QVX_API BitArray *HigherBits(BitArray *a, uint64_t n) QVX_NOEXCEPT;
QVX_API BitArray *CropBitArray(BitArray *a, uint64_t from, uint64_t count) QVX_NOEXCEPT;
QVX_API BitArray *ConcatenateBitArrays(BitArray *high, BitArray *low) QVX_NOEXCEPT;
QVX_API void      WriteBitArray(BitArray *a, void *stream, StreamMode mode) QVX_NOEXCEPT;
QVX_API BitArray *ReadBitArray(void *stream, StreamMode mode) QVX_NOEXCEPT;

QVX_API uint64_t  AddBits(uint64_t a, uint64_t b, unsigned char *carry_out) QVX_NOEXCEPT;
QVX_API uint64_t  SubtractBits(uint64_t a, uint64_t b, unsigned char *borrow_out) QVX_NOEXCEPT;
QVX_API BitArray *AddBitArrays(BitArray *a, BitArray *b) QVX_NOEXCEPT;
QVX_API BitArray *SubtractBitArrays(BitArray *a, BitArray *b, int8_t *sign) QVX_NOEXCEPT;
QVX_API BitArray *SubtractBitArraysNoReduce(BitArray *a, BitArray *b, int8_t *sign) QVX_NOEXCEPT;
QVX_API uint64_t  KaratsubaGetLength(uint64_t x) QVX_NOEXCEPT;
QVX_API uint64_t  KaratsubaMultiply(uint64_t x, uint64_t y) QVX_NOEXCEPT;
QVX_API BitArray *MultiplyBitArrays(BitArray *a, BitArray *b, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArray *InvertBitArray(BitArray *a, uint64_t precision, uint64_t *exponent_out, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArrayFloat *DivideBitArrays(BitArray *a, BitArray *b, uint64_t precision, unsigned char *abort) QVX_NOEXCEPT; /* b zero: both parts null */
QVX_API BitArray *FloorDivideBitArrays(BitArray *a, BitArray *b, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArray *ModBitArrays(BitArray *a, BitArray *b, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArray *InvertSquareRootBitArray(BitArray *a, uint64_t precision, uint64_t *exponent_out, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArrayFloat *SquareRootBitArray(BitArray *a, uint64_t precision, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArray *ExponentiateBitArrays(BitArray *a, BitArray *b, unsigned char *abort) QVX_NOEXCEPT;
QVX_API uint64_t  PowMod(uint64_t base, uint64_t exponent, uint64_t modulus) QVX_NOEXCEPT;
QVX_API BitArray *MultiplyBitArrayBy10(BitArray *a, unsigned char *carry_out, unsigned char *abort) QVX_NOEXCEPT; /* same length; overflow digit in carry_out */
QVX_API BitArray *DivideBitArrayBy10(BitArray *a, unsigned char *remainder_out, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArray *IntDivideBitArrayBy10(BitArray *a, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArray *DivideBitArrayByPowerOf10(BitArray *a, uint64_t n, BitArray **remainder_out, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArray **GetPowerOf10BitArrays(uint64_t n, unsigned char *abort) QVX_NOEXCEPT; /* n + 1 entries; free each, then the block with Free */

QVX_API BitArrayFloat *InitializeBitArrayFloatFromBitArrays(BitArray *integer, BitArray *fraction, int8_t sign) QVX_NOEXCEPT;
QVX_API BitArrayFloat *InitializeBitArrayFloatFromDouble(double x) QVX_NOEXCEPT; /* null for NaN or infinity */
QVX_API BitArrayFloat *CopyBitArrayFloat(BitArrayFloat *a) QVX_NOEXCEPT;
QVX_API void           FreeBitArrayFloat(BitArrayFloat *a) QVX_NOEXCEPT;
QVX_API BitArrayFloat *AddBitArrayFloats(BitArrayFloat *a, BitArrayFloat *b) QVX_NOEXCEPT;
QVX_API BitArrayFloat *SubtractBitArrayFloats(BitArrayFloat *a, BitArrayFloat *b) QVX_NOEXCEPT;
QVX_API BitArrayFloat *MultiplyBitArrayFloats(BitArrayFloat *a, BitArrayFloat *b, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArrayFloat *DivideBitArrayFloats(BitArrayFloat *a, BitArrayFloat *b, uint64_t digits, unsigned char *abort) QVX_NOEXCEPT;
QVX_API int32_t        CompareBitArrayFloats(BitArrayFloat *a, BitArrayFloat *b) QVX_NOEXCEPT;
QVX_API BitArrayFloat *SquareRootBitArrayFloat(BitArrayFloat *a, uint64_t digits, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArrayFloat *ExponentiateBitArrayFloats(BitArrayFloat *a, BitArrayFloat *b, uint64_t digits, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArrayFloat *ShiftLeftBitArrayFloat(BitArrayFloat *a, uint64_t n) QVX_NOEXCEPT;   /* new record */
QVX_API BitArrayFloat *ShiftRightBitArrayFloat(BitArrayFloat *a, uint64_t n) QVX_NOEXCEPT;  /* new record */
QVX_API void           WriteBitArrayFloat(BitArrayFloat *value, void *stream, StreamMode mode) QVX_NOEXCEPT;
QVX_API BitArrayFloat *ReadBitArrayFloat(void *stream, StreamMode mode) QVX_NOEXCEPT;

QVX_API BitArrayFloat *InitializeBitArrayFloatFromDecimal(const char *text, uint64_t precision, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArrayFloat *InitializeBitArrayFloatFromHexadecimal(const char *text) QVX_NOEXCEPT;
QVX_API BitArray *DecimalIntegerStringToBitArray(const char *text, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArray *DecimalFractionalStringToBitArray(const char *text, uint64_t precision, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArray *HexadecimalIntegerStringToBitArray(const char *text) QVX_NOEXCEPT;
QVX_API BitArray *HexadecimalFractionalStringToBitArray(const char *text) QVX_NOEXCEPT;
QVX_API char     *BitArrayToDecimalIntegerString(BitArray *a, unsigned char *abort) QVX_NOEXCEPT;
QVX_API char     *BitArrayToDecimalFractionalString(BitArray *a, uint64_t digits, unsigned char *abort) QVX_NOEXCEPT;
QVX_API char     *BitArrayToHexadecimalIntegerString(BitArray *a) QVX_NOEXCEPT;
QVX_API char     *BitArrayToHexadecimalFractionalString(BitArray *a) QVX_NOEXCEPT;
QVX_API char     *PrintBitArrayFloat(BitArrayFloat *a) QVX_NOEXCEPT;
QVX_API char     *PrintBitArrayFloatToDecimal(BitArrayFloat *a, int32_t digits, unsigned char *abort) QVX_NOEXCEPT;
QVX_API char     *PrintBitArrayFloatToHexadecimal(BitArrayFloat *a) QVX_NOEXCEPT;
QVX_API char     *MultiplyBy2(const char *text, unsigned char *abort) QVX_NOEXCEPT;
QVX_API char     *DivideBy2(const char *text, unsigned char *abort) QVX_NOEXCEPT;

QVX_API BitArrayFloat *EulersNumber(BitArray *n, unsigned char *abort) QVX_NOEXCEPT;
QVX_API void      EulersNumberPartialSum(BitArray *n, BitArray **p_out, BitArray **q_out, unsigned char *abort) QVX_NOEXCEPT;
QVX_API void      EPartialSumSub(BitArray *a, BitArray *b, BitArray *one, BitArray **p_out, BitArray **q_out, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArray *BitArrayFactorial(BitArray *n, unsigned char *abort) QVX_NOEXCEPT;
QVX_API BitArray *BitArrayFactorialBinarySplitting(BitArray *n, unsigned char *abort) QVX_NOEXCEPT;
QVX_API void      FactorialPartialProductSub(BitArray *a, BitArray *b, BitArray **out, unsigned char *abort) QVX_NOEXCEPT;

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

/* Real forms of complex containers. */
QVX_API double  *AbsCV(const Complex *v) QVX_NOEXCEPT;
QVX_API double **AbsCM(Complex **m) QVX_NOEXCEPT;
QVX_API double **ReM(Complex **m) QVX_NOEXCEPT;

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

/* ======================================================================== */
/* Linear algebra and tensors                                               */
/* ======================================================================== */

typedef struct Tensor { int32_t rank; int32_t length; void **items; } Tensor;
/* rank 0: items[0] points to one Complex; rank r > 0: length pointers to Tensor of rank r-1 */

/* Arithmetic. New containers; shapes that do not fit give a 1 by 1 zero
 * matrix or a vector of length 0. Vectors of a tridiagonal matrix: sub[2..n]
 * below the diagonal, diag[1..n], super[1..n-1] above it. */
QVX_API double  **AddM(double **a, double **b) QVX_NOEXCEPT;
QVX_API Complex **AddMC(Complex **a, Complex **b) QVX_NOEXCEPT;
QVX_API double  **SubM(double **a, double **b) QVX_NOEXCEPT;
QVX_API Complex **SubMC(Complex **a, Complex **b) QVX_NOEXCEPT;
QVX_API double   *AddV(const double *a, const double *b) QVX_NOEXCEPT;
QVX_API Complex  *AddVC(const Complex *a, const Complex *b) QVX_NOEXCEPT;
QVX_API double   *SubV(const double *a, const double *b) QVX_NOEXCEPT;
QVX_API Complex  *SubVC(const Complex *a, const Complex *b) QVX_NOEXCEPT;
QVX_API double  **MulM(double **a, double **b) QVX_NOEXCEPT;
QVX_API Complex **MulMC(Complex **a, Complex **b) QVX_NOEXCEPT;
QVX_API double   *MulMV(double **m, const double *v) QVX_NOEXCEPT;              /* sum over j of m[j][i] v[j] */
QVX_API double   *MulVM(const double *v, double **m) QVX_NOEXCEPT;              /* v' m */
QVX_API double   *MulMMV(double **a, double **b, const double *v) QVX_NOEXCEPT; /* a b v */
QVX_API double    MulVMV(const double *u, double **m, const double *v) QVX_NOEXCEPT; /* u' m v */
QVX_API double    InnerP(const double *a, const double *b) QVX_NOEXCEPT;
QVX_API Complex   InnerPC(const Complex *a, const Complex *b) QVX_NOEXCEPT;   /* conjugates a */
QVX_API double    DotP(const double *a, const double *b) QVX_NOEXCEPT;
QVX_API double  **OuterP(const double *a, const double *b) QVX_NOEXCEPT;      /* m[j][i] = a[i] b[j] */
QVX_API double   *CrossP(const double *a, const double *b) QVX_NOEXCEPT;
QVX_API double  **IncM(double **m, double x) QVX_NOEXCEPT;                    /* every element + x */
QVX_API double   *IncV(const double *v, double x) QVX_NOEXCEPT;
QVX_API double  **PowM(double **a, int32_t p) QVX_NOEXCEPT;                   /* p < 0 inverts */
QVX_API Complex **PowMC(Complex **a, int32_t p) QVX_NOEXCEPT;
QVX_API double  **Kronecker(double **a, double **b) QVX_NOEXCEPT;
QVX_API double  **Transpose(double **m) QVX_NOEXCEPT;
QVX_API Complex **TransposeC(Complex **m) QVX_NOEXCEPT;
QVX_API Complex **Adjoint(Complex **m) QVX_NOEXCEPT;
QVX_API double  **Square(double **a) QVX_NOEXCEPT;                            /* a a */
QVX_API double  **IdentityMatrix(int32_t n) QVX_NOEXCEPT;
QVX_API double  **DiagonalMatrix(const double *v) QVX_NOEXCEPT;
QVX_API Complex **DiagonalMatrixC(const Complex *v) QVX_NOEXCEPT;
QVX_API double  **BlockDiagonalMatrix(double ***blocks) QVX_NOEXCEPT;         /* a MatrixVector */
QVX_API double  **TriDiagonalMatrix(const double *sub, const double *diag, const double *super) QVX_NOEXCEPT;
QVX_API Complex **TriDiagonalMatrixC(const Complex *sub, const Complex *diag, const Complex *super) QVX_NOEXCEPT;
QVX_API double  **CombineMatrices(double **a, double **b) QVX_NOEXCEPT;       /* columns of a, then b */
QVX_API int32_t **CombineMatricesL(int32_t **a, int32_t **b) QVX_NOEXCEPT;
/* f returns a new Vector; column j holds the derivatives by x[j]; h <= 0 picks a step. */
QVX_API double  **JacobianMatrix(double *(*f)(const double *x), const double *x, double h) QVX_NOEXCEPT;
QVX_API double   *NormalizeV(const double *v) QVX_NOEXCEPT;
QVX_API Complex  *NormalizeVC(const Complex *v) QVX_NOEXCEPT;
QVX_API double  **NormalizeM(double **m) QVX_NOEXCEPT;                        /* each column */
QVX_API Complex **NormalizeMC(Complex **m) QVX_NOEXCEPT;
QVX_API double   *UnitV(int32_t n, int32_t k) QVX_NOEXCEPT;                   /* k-th unit vector */
QVX_API Complex  *UnitVC(int32_t n, int32_t k) QVX_NOEXCEPT;
QVX_API double    EuclideanNormV(const double *v) QVX_NOEXCEPT;
QVX_API double    EuclideanNormM(double **m) QVX_NOEXCEPT;                    /* Frobenius */
QVX_API double    EuclideanDistV(const double *a, const double *b) QVX_NOEXCEPT;  /* -1: shapes differ */
QVX_API double    EuclideanDistM(double **a, double **b) QVX_NOEXCEPT;
QVX_API double    EuclideanNorm2(double x, double y) QVX_NOEXCEPT;
QVX_API double    EuclideanNorm3(double x, double y, double z) QVX_NOEXCEPT;

/* In place: AddIPM a += b; MulIPM a = a b (b square); TransposeIP and
 * AdjointIP write into t of the transposed shape; the Square forms swap
 * across the diagonal of one square matrix. */
QVX_API void AddIPM(double **a, double **b) QVX_NOEXCEPT;
QVX_API void MulIPM(double **a, double **b) QVX_NOEXCEPT;
QVX_API void MulIPMC(Complex **a, Complex **b) QVX_NOEXCEPT;
QVX_API void TransposeIP(double **m, double **t) QVX_NOEXCEPT;
QVX_API void TransposeIPC(Complex **m, Complex **t) QVX_NOEXCEPT;
QVX_API void AdjointIP(Complex **m, Complex **t) QVX_NOEXCEPT;
QVX_API void TransposeSquareIP(double **m) QVX_NOEXCEPT;
QVX_API void TransposeSquareIPC(Complex **m) QVX_NOEXCEPT;
QVX_API void AdjointSquareIP(Complex **m) QVX_NOEXCEPT;

/* LU with implicit scaling and partial pivoting; a zero pivot becomes 1e-20.
 * The index VectorL has n + 1 entries: pivot rows, then the parity (starts
 * at -1, flips per interchange). LUSolve overwrites a by its factors and
 * each column of b by a solution; LinSolve keeps a. A matrix that is not
 * square is taken as its leading square block by the LU family; Det gives 0
 * for it, InvertM leaves it alone. */
QVX_API int32_t *LUDecomposition(double **a) QVX_NOEXCEPT;
QVX_API int32_t *LUDecompositionC(Complex **a) QVX_NOEXCEPT;
QVX_API void     LUSolve(double **a, double **b) QVX_NOEXCEPT;
QVX_API void     LUSolveC(Complex **a, Complex **b) QVX_NOEXCEPT;
QVX_API void     LinSolve(double **a, double **b) QVX_NOEXCEPT;
QVX_API double   Det(double **a) QVX_NOEXCEPT;
QVX_API Complex  DetC(Complex **a) QVX_NOEXCEPT;
QVX_API void     InvertM(double **a) QVX_NOEXCEPT;
QVX_API void     InvertMC(Complex **a) QVX_NOEXCEPT;
QVX_API double **Invert2M(double **a) QVX_NOEXCEPT;

/* Band matrices in compact form: a has m1 + m2 + 1 columns of n rows,
 * a[k][i] = element (i, i + k - m1 - 1); al (m1 columns) and index (n)
 * receive the factors (m1, m2 below n). The result of BanDec is the
 * interchange parity. */
QVX_API double BanDec(double **a, int32_t m1, int32_t m2, double **al, int32_t *index) QVX_NOEXCEPT;
QVX_API double BanDecC(Complex **a, int32_t m1, int32_t m2, Complex **al, int32_t *index) QVX_NOEXCEPT;
QVX_API void   BanSolve(double **a, int32_t m1, int32_t m2, double **al, const int32_t *index, double *b) QVX_NOEXCEPT;
QVX_API void   BanSolveC(Complex **a, int32_t m1, int32_t m2, Complex **al, const int32_t *index, Complex *b) QVX_NOEXCEPT;
/* a sub-diagonal [2..n], b diagonal, c super-diagonal [1..n-1], r right side, u solution. */
QVX_API void   TriDiagSolve(const double *a, const double *b, const double *c, const double *r, double *u) QVX_NOEXCEPT;
QVX_API void   TriDiagSolveC(const Complex *a, const Complex *b, const Complex *c, const Complex *r, Complex *u) QVX_NOEXCEPT;

QVX_API double  **GramSchmidt(double **a) QVX_NOEXCEPT;     /* new matrix of orthonormal columns */
QVX_API Complex **GramSchmidtC(Complex **a) QVX_NOEXCEPT;
/* n rounds from the start vector v (left as the last normalised vector). */
QVX_API double    PowerMethod(double **a, double *v, int32_t n) QVX_NOEXCEPT;
QVX_API Complex   PowerMethodC(Complex **a, Complex *v, int32_t n) QVX_NOEXCEPT;

/* Singular values: a MatrixVector of 3: U (the shape of a), the singular
 * values in descending order as a one-column matrix, V (n by n). */
QVX_API double ***SVD(double **a) QVX_NOEXCEPT;
QVX_API double    SVDPythag(double x, double y) QVX_NOEXCEPT;

/* Symmetric eigenproblems. EigenDecomposition fills values (ascending) and
 * the columns of vectors. HouseholderReduction leaves the transformation in
 * a, the diagonal in d and the sub-diagonal in e[2..n]. */
QVX_API void    EigenDecomposition(double **a, double *values, double **vectors) QVX_NOEXCEPT;
QVX_API void    HouseholderReduction(double **a, double *d, double *e) QVX_NOEXCEPT;
QVX_API void    TriagonalEigenValues(double *d, double *e) QVX_NOEXCEPT;
QVX_API void    TriagonalEigenDecomposition(double *d, double *e, double **z) QVX_NOEXCEPT;
/* Replaces sub[i] and super[i - 1] by the root of their product; 0 when a
 * product is negative (no real symmetric similar matrix exists), else 1. */
QVX_API int32_t SymmetrizeTridiagonalMatrix(double *sub, const double *diag, double *super) QVX_NOEXCEPT;

/* General eigenproblems. QRAlgorithm: eigenvalues of a real matrix.
 * QRAlgorithm2: a complex MatrixVector of 2, the eigenvalues as a
 * one-column matrix and the unit eigenvectors as columns. Both sort by
 * descending modulus (QRSortVecs; vectors may be null). */
QVX_API Complex   *QRAlgorithm(double **a) QVX_NOEXCEPT;
QVX_API Complex ***QRAlgorithm2(Complex **a) QVX_NOEXCEPT;
QVX_API void       QRBalance(double **a) QVX_NOEXCEPT;
QVX_API void       QRBalance2(Complex **a, double *scale) QVX_NOEXCEPT;
QVX_API void       QRHessenberg(double **a) QVX_NOEXCEPT;
QVX_API void       QRHessenberg2(Complex **a, Complex **z) QVX_NOEXCEPT;
QVX_API void       QRSortVecs(Complex *values, Complex **vectors) QVX_NOEXCEPT;
QVX_API double    *EigenVector(double **a, double value) QVX_NOEXCEPT;   /* inverse iteration */
/* f applied to a symmetric matrix through its eigen decomposition. */
QVX_API double   **MatrixFunction(double **a, double (*f)(double)) QVX_NOEXCEPT;
QVX_API double   **MatrixFunctionTridag(const double *d, const double *e, double (*f)(double)) QVX_NOEXCEPT;

/* Tensor: the nested complex block of a matrix object. Index 0-based at
 * every level; the first index of a rank 2 Tensor is the row. dimensions is
 * a VectorL-like list (its count in element 0, then the lengths from the
 * outermost in); TensorZero uses its last `rank` entries, and a rank below 1
 * gives the rank 0 zero. Combining functions return new Tensors, or null
 * when the shapes do not allow the operation (a lower rank is raised by
 * levels of length 1; products contract the last index of a with the first
 * of b). TensorTranspose and TensorConjugate work in place and return t;
 * TensorInvert answers 1, or 0 (t unchanged) for a singular, non-finite or
 * non-square value. */
QVX_API Tensor  *TensorZero(const int32_t *dimensions, int32_t rank) QVX_NOEXCEPT;
QVX_API Tensor  *TensorCopy(const Tensor *t) QVX_NOEXCEPT;
QVX_API void     TensorFree(Tensor *t) QVX_NOEXCEPT;
QVX_API int32_t  TensorSetItem(Tensor *t, int32_t index, const Tensor *value) QVX_NOEXCEPT;
QVX_API Tensor  *TensorFromMatrixC(Complex **m) QVX_NOEXCEPT;
QVX_API Complex **TensorToMatrixC(const Tensor *t) QVX_NOEXCEPT;   /* null unless rank 2 */
QVX_API void     TensorWrite(const Tensor *t, void *stream, StreamMode mode) QVX_NOEXCEPT;
QVX_API Tensor  *TensorRead(void *stream, StreamMode mode) QVX_NOEXCEPT;
QVX_API Tensor  *TensorAdd(const Tensor *a, const Tensor *b) QVX_NOEXCEPT;
QVX_API Tensor  *TensorSubtract(const Tensor *a, const Tensor *b) QVX_NOEXCEPT;
QVX_API Tensor  *TensorMultiply(const Tensor *a, const Tensor *b) QVX_NOEXCEPT;
QVX_API Tensor  *TensorScale(const Tensor *t, double re, double im) QVX_NOEXCEPT;
QVX_API Tensor  *TensorDirectAdd(const Tensor *a, const Tensor *b) QVX_NOEXCEPT;      /* block diagonal */
QVX_API Tensor  *TensorDirectMultiply(const Tensor *a, const Tensor *b) QVX_NOEXCEPT; /* Kronecker */
QVX_API Tensor  *TensorTranspose(Tensor *t, int32_t conjugate) QVX_NOEXCEPT;
QVX_API Tensor  *TensorConjugate(Tensor *t) QVX_NOEXCEPT;
QVX_API int32_t  TensorInvert(Tensor *t) QVX_NOEXCEPT;
QVX_API Tensor  *TensorDeterminant(const Tensor *t) QVX_NOEXCEPT;
QVX_API Tensor  *TensorTrace(const Tensor *t) QVX_NOEXCEPT;
QVX_API Tensor  *TensorEigenvalues(const Tensor *t) QVX_NOEXCEPT;   /* rank 1, descending modulus */
QVX_API Tensor  *TensorEigenvectors(const Tensor *t) QVX_NOEXCEPT;  /* item k: eigenvector k */

/* ======================================================================== */
/* Fourier family                                                           */
/* ======================================================================== */

/* Transforms are centred and unitary: for n points the origin is element
 * n/2 + 1 of both the data and the transform, each direction is divided by
 * sqrt(n), and direction is the sign in the exponent (-1 forward, +1
 * inverse). A frequency domain of n samples of spacing dx has spacing
 * 1/(n dx). Data sets: 1D is a Matrix(2, n) (abscissas, ordinates), 1DC a
 * MatrixC(2, n) with the abscissas in the real parts. Functions that return
 * a data set give an empty one (2 columns, 0 rows) for a bad input. */

/* FFTV transforms in place when the length is a power of two and leaves
 * any other vector unchanged. FFTVErr does the same for a power of two
 * (answer 0); for another length it transforms a copy resampled linearly to
 * the next power of two and writes back its central n points (answer 1);
 * -1 when nothing was done. DFT is the direct O(n^2) centred transform of
 * any length. The matrix and N-D forms take any length (powers of two by
 * the FFTV kernel). FFTND works on a VectorC of FFTNGetNPts(dims) elements,
 * row-major, dims a VectorL whose last entry is the fastest index. */
QVX_API void     FFTV(Complex *v, int32_t direction) QVX_NOEXCEPT;
QVX_API int32_t  FFTVErr(Complex *v, int32_t direction) QVX_NOEXCEPT;
QVX_API Complex *DFT(const Complex *v, int32_t direction) QVX_NOEXCEPT;
QVX_API void     FFTCols(Complex **m, int32_t direction) QVX_NOEXCEPT;  /* each column */
QVX_API void     FFTRows(Complex **m, int32_t direction) QVX_NOEXCEPT;  /* each row */
QVX_API void     FFTM(Complex **m, int32_t direction) QVX_NOEXCEPT;     /* columns, then rows */
QVX_API void     FFTND(Complex *data, const int32_t *dims, int32_t direction) QVX_NOEXCEPT;
QVX_API int32_t  FFTNGetNPts(const int32_t *dims) QVX_NOEXCEPT;          /* 0: bad dims */
QVX_API void     FFTNShift(Complex *data, const int32_t *dims) QVX_NOEXCEPT;  /* k -> k + n/2 per axis */
QVX_API double  *FFTNDomainChange(const double *spacing, const int32_t *dims) QVX_NOEXCEPT;  /* 1/(n dx) per axis */

/* Domains. CenterDomain: x - x[n/2+1]; ReferenceDomain: the same plus
 * reference; CenterDomainFFT: the uniform grid of x's spacing with 0 at
 * element n/2+1; FFTDomainChange: the frequencies of a grid; PositiveDomain:
 * elements n/2+1..n. DiscretizeDomainFFT: n points x1 + (i-1)(x2-x1)/n.
 * DiscretizeFFT samples f on that grid with n raised to a power of two,
 * DiscretizeFFTN with n as given. */
QVX_API double  *CenterDomain(const double *x) QVX_NOEXCEPT;
QVX_API Complex *CenterDomainC(const Complex *x) QVX_NOEXCEPT;
QVX_API double  *ReferenceDomain(const double *x, double reference) QVX_NOEXCEPT;
QVX_API double  *CenterDomainFFT(const double *x) QVX_NOEXCEPT;
QVX_API Complex *CenterDomainFFTC(const Complex *x) QVX_NOEXCEPT;
QVX_API Complex *CenteredFFTDomainC(int32_t n, double dx) QVX_NOEXCEPT;
QVX_API double  *FFTDomainChange(const double *x) QVX_NOEXCEPT;
QVX_API Complex *FFTDomainChangeC(const Complex *x) QVX_NOEXCEPT;
QVX_API double  *PositiveDomain(const double *x) QVX_NOEXCEPT;
QVX_API Complex *PositiveDomainC(const Complex *x) QVX_NOEXCEPT;
QVX_API double  *DiscretizeDomainFFT(double x1, double x2, int32_t n) QVX_NOEXCEPT;
QVX_API Complex *DiscretizeDomainFFTC(double x1, double x2, int32_t n) QVX_NOEXCEPT;
QVX_API Complex **DiscretizeFFT(Complex (*f)(double x, void *context), void *context, double x1, double x2, int32_t n) QVX_NOEXCEPT;
QVX_API Complex **DiscretizeFFTN(Complex (*f)(double x, void *context), void *context, double x1, double x2, int32_t n) QVX_NOEXCEPT;

/* Padding to n points keeps element n/2+1 on the old centre (cropping when
 * n is smaller). ZeroPadFFT pads to the next power of two, FormatZeroPadFFT
 * to the next power of two >= factor * n; FormatFFT resamples linearly to
 * the next power of two over the same span. */
QVX_API Complex  *ZeroPadVC(const Complex *v, int32_t n) QVX_NOEXCEPT;
QVX_API Complex  *ZeroPadFFT(const Complex *v) QVX_NOEXCEPT;
QVX_API Complex  *FormatZeroPadFFT(const Complex *v, int32_t factor) QVX_NOEXCEPT;
QVX_API Complex  *FormatFFT(const Complex *v) QVX_NOEXCEPT;
QVX_API double  **ZeroPad1D(double **data, int32_t n) QVX_NOEXCEPT;
QVX_API Complex **ZeroPad1DC(Complex **data, int32_t n) QVX_NOEXCEPT;

/* Shifts: y_i = v_{i - shift}. Shift0C fills with zeros; ShiftCont shifts
 * circularly by any real number of samples through the transform;
 * ShiftCont1DC by a distance in abscissa units. */
QVX_API Complex  *Shift0C(const Complex *v, int32_t shift) QVX_NOEXCEPT;
QVX_API double   *ShiftCont(const double *v, double shift) QVX_NOEXCEPT;
QVX_API Complex **ShiftCont1DC(Complex **data, double distance) QVX_NOEXCEPT;

/* Centring. The CenterDistr forms shift samples (circularly, or with zero
 * fill for 0C) so that the centroid (weights |v|, complex |v|^2; the Window
 * form from elements i1..i2 only) lands on element n/2+1. The
 * CenterDistribution forms keep the samples and move the abscissas so that
 * the weighted mean abscissa is 0 (Window: from x1 <= x <= x2). */
QVX_API double   *CenterDistr(const double *v) QVX_NOEXCEPT;
QVX_API Complex  *CenterDistrC(const Complex *v) QVX_NOEXCEPT;
QVX_API Complex  *CenterDistr0C(const Complex *v) QVX_NOEXCEPT;
QVX_API Complex  *CenterDistrWindowC(const Complex *v, int32_t i1, int32_t i2) QVX_NOEXCEPT;
QVX_API double  **CenterDistribution(double **data) QVX_NOEXCEPT;
QVX_API Complex **CenterDistributionC(Complex **data) QVX_NOEXCEPT;
QVX_API Complex **CenterDistributionWindowC(Complex **data, double x1, double x2) QVX_NOEXCEPT;

/* Convolution. ConvolutionD, ConvolutionC, ConvolutionFFTV: the full linear
 * convolution (length na + nb - 1), the last through transforms.
 * Convolution1D and ConvolutionFFT (direct, by transforms): dx sum_j
 * a(x_j) b(x_i - x_j) on the abscissas of a, with b on a centred grid of the
 * same spacing. Autocorrelation: non-circular, lag k - (n/2+1) at element k. */
QVX_API double   *ConvolutionD(const double *a, const double *b) QVX_NOEXCEPT;
QVX_API Complex  *ConvolutionC(const Complex *a, const Complex *b) QVX_NOEXCEPT;
QVX_API Complex  *ConvolutionFFTV(const Complex *a, const Complex *b) QVX_NOEXCEPT;
QVX_API double  **Convolution1D(double **a, double **b) QVX_NOEXCEPT;
QVX_API double  **ConvolutionFFT(double **a, double **b) QVX_NOEXCEPT;
QVX_API double   *Autocorrelation(const double *v) QVX_NOEXCEPT;

/* Edge tapers on a copy: the k outermost samples of one edge. With s = 1 at
 * the outermost sample and 1/k next to the interior: cosine 0.5(1 +
 * cos(pi s)) (DampenLeft, DampenRight), linear 1 - s, Gauss exp(-4.5 s^2),
 * Exp exp(-5 s), Zero 0; Fit replaces them by the cubic from 0 (zero slope)
 * to the first untouched sample, matching its value and slope. */
QVX_API double *DampenLeft(const double *v, int32_t k) QVX_NOEXCEPT;
QVX_API double *DampenLeftLinear(const double *v, int32_t k) QVX_NOEXCEPT;
QVX_API double *DampenLeftGauss(const double *v, int32_t k) QVX_NOEXCEPT;
QVX_API double *DampenLeftZero(const double *v, int32_t k) QVX_NOEXCEPT;
QVX_API double *DampenLeftFit(const double *v, int32_t k) QVX_NOEXCEPT;
QVX_API double *DampenRight(const double *v, int32_t k) QVX_NOEXCEPT;
QVX_API double *DampenRightLinear(const double *v, int32_t k) QVX_NOEXCEPT;
QVX_API double *DampenRightGauss(const double *v, int32_t k) QVX_NOEXCEPT;
QVX_API double *DampenRightExp(const double *v, int32_t k) QVX_NOEXCEPT;
QVX_API double *DampenRightFit(const double *v, int32_t k) QVX_NOEXCEPT;

/* DC and phase. RemoveDCWindow subtracts the mean of elements i1..i2.
 * Phase is atan2(im, re); the Unwrap forms remove jumps above pi (UnwrapM
 * per column, UnwrapVWindow within i1..i2). The phase fits weight the
 * unwrapped phase of a 1DC by |y|^2: PolynomialFitPhase gives degree + 1
 * coefficients from the constant up, LinearPhase the pair (a, b) of
 * a + b x, RemoveLinearPhase multiplies by exp(-i (a + b x)). */
QVX_API double   *RemoveDC(const double *v) QVX_NOEXCEPT;
QVX_API Complex  *RemoveDCC(const Complex *v) QVX_NOEXCEPT;
QVX_API double   *RemoveDCWindow(const double *v, int32_t i1, int32_t i2) QVX_NOEXCEPT;
QVX_API double   *Phase(const Complex *v) QVX_NOEXCEPT;
QVX_API double  **UnwrapM(double **m) QVX_NOEXCEPT;
QVX_API double   *UnwrapVWindow(const double *v, int32_t i1, int32_t i2) QVX_NOEXCEPT;
QVX_API double   *PolynomialFitPhase(Complex **data, int32_t degree) QVX_NOEXCEPT;
QVX_API double   *LinearPhase(Complex **data) QVX_NOEXCEPT;
QVX_API Complex **RemoveLinearPhase(Complex **data) QVX_NOEXCEPT;

/* Analysis. AnalyticSignal: v + i H[v]; Envelope: its modulus. Spectrum:
 * frequencies and |transform|^2 of a 1DC. TimeBandwidthProduct: product of
 * the rms widths (weights |y|^2) of a 1DC and of its transform, 1/(4 pi)
 * for a Gaussian; the Spectrum form starts from the frequency side.
 * SmoothFFTV: Gaussian smoothing of standard deviation sigma samples
 * (mirror-extended ends); SmoothFFT: width in abscissa units.
 * SuperGaussianFilter multiplies the transform by exp(-((f - centre) /
 * width)^(2 order)). FourierFilter(C) applies the filter read from the file
 * "fourier_filter_spec.txt" of the current directory, lines "key value":
 * type lowpass|highpass|bandpass|bandstop|supergaussian, low, high, centre,
 * width, order, '#' comments; a missing or unusable file leaves the data
 * unchanged. */
QVX_API Complex  *AnalyticSignal(const double *v) QVX_NOEXCEPT;
QVX_API double   *Envelope(const double *v) QVX_NOEXCEPT;
QVX_API double  **Spectrum(Complex **data) QVX_NOEXCEPT;
QVX_API double    TimeBandwidthProduct(Complex **data) QVX_NOEXCEPT;
QVX_API double    TimeBandwidthProductSpectrum(Complex **spectrum) QVX_NOEXCEPT;
QVX_API double   *SmoothFFTV(const double *v, double sigma) QVX_NOEXCEPT;
QVX_API double  **SmoothFFT(double **data, double width) QVX_NOEXCEPT;
QVX_API Complex **SuperGaussianFilter(Complex **data, double centre, double width, int32_t order) QVX_NOEXCEPT;
QVX_API double  **FourierFilter(double **data) QVX_NOEXCEPT;
QVX_API Complex **FourierFilterC(Complex **data) QVX_NOEXCEPT;

/* FSeries: Matrix(3, terms + 1) of k, a_k, b_k for one period sampled at n
 * uniform points, f ~ a_0/2 + sum a_k cos(2 pi k t/L) + b_k sin(2 pi k t/L).
 * STFT: column f the centred transform of frame f (window samples from
 * 1 + (f-1) hop, periodic Hann window). WignerDistribution: Matrix(n, n),
 * column t the time, row i the frequency (i - (n/2+1)) / (2n) per sample;
 * n above 4096 gives an empty matrix. */
QVX_API double  **FSeries(double **data, int32_t terms) QVX_NOEXCEPT;
QVX_API Complex **STFT(const double *v, int32_t window, int32_t hop) QVX_NOEXCEPT;
QVX_API double  **WignerDistribution(const Complex *v) QVX_NOEXCEPT;

/* ======================================================================== */
/* Interpolation and discretisation                                         */
/* ======================================================================== */

/* Data sets: 1D a Matrix(2, n) (abscissas, ordinates), 1DC a MatrixC(2,
 * n) with the abscissas in the real parts, abscissas ascending; 2D a
 * MatrixVector2D (values m[j][i] at abscissa j, ordinate i); 2DC a
 * MatrixVectorC of 3 of the same shape (abscissas and ordinates in the real
 * parts). Uniform grids include both ends: point i of n is x1 + (i-1)(x2 -
 * x1)/(n-1). Index-domain members (V, M, Cols, Rows) take element k as the
 * sample at position k and keep both ends: new element k of n drawn from m
 * sits at 1 + (k-1)(m-1)/(n-1). Straight-line and local-polynomial values
 * outside the abscissas continue the end pieces. Bad input gives the empty
 * result of the kind: a vector of length 0, a matrix of 0 columns, a set of
 * 0 points, NaN. */
typedef Complex (*ComplexFn2)(double x, double y, void *params);
typedef Complex (*ComplexFnZ)(Complex z);
typedef Complex (*ComplexOdeFn1)(double x, Complex y, void *params);   /* y' = f(x, y) */

/* One value. LinearInterpolation1(C): straight lines; ParabolicInterpolation1
 * and CubicInterpolation1: the polynomial through the 3 or 4 nearest
 * samples; Lagrange: through all samples (Neville's algorithm);
 * ParabolicInterpolation11: through three given points; ParabolicExtremum:
 * abscissa of the vertex of that parabola, its value in *yExtremum (may be
 * null), NaN for collinear points. LinearInterpolation2D1: bilinear. */
QVX_API double  LinearInterpolation1(double **set, double x) QVX_NOEXCEPT;
QVX_API Complex LinearInterpolation1C(Complex **set, double x) QVX_NOEXCEPT;
QVX_API double  ParabolicInterpolation1(double **set, double x) QVX_NOEXCEPT;
QVX_API double  CubicInterpolation1(double **set, double x) QVX_NOEXCEPT;
QVX_API double  Lagrange(double **set, double x) QVX_NOEXCEPT;
QVX_API double  ParabolicInterpolation11(double x1, double y1, double x2, double y2, double x3, double y3,
                                         double x) QVX_NOEXCEPT;
QVX_API double  ParabolicExtremum(double x1, double y1, double x2, double y2, double x3, double y3,
                                  double *yExtremum) QVX_NOEXCEPT;
QVX_API double  LinearInterpolation2D1(double ***set, double x, double y) QVX_NOEXCEPT;

/* New sets: on n points spread evenly over the abscissas, or at the given
 * abscissas (Pts). Spline forms are natural cubic splines; the 2D spline
 * runs one along x for each row, then one along y. */
QVX_API Complex **LinearInterpolation1DC(Complex **set, int32_t n) QVX_NOEXCEPT;
QVX_API double  **LinearInterpolationPts1D(double **set, const double *x) QVX_NOEXCEPT;
QVX_API Complex **LinearInterpolationPts1DC(Complex **set, const double *x) QVX_NOEXCEPT;
QVX_API double  **ParabolicInterpolation1D(double **set, int32_t n) QVX_NOEXCEPT;
QVX_API double  **SplineInterpolation(double **set, int32_t n) QVX_NOEXCEPT;
QVX_API double  **SplineInterpolationPts(double **set, const double *x) QVX_NOEXCEPT;
QVX_API double ***LinearInterpolation2D(double ***set, int32_t nx, int32_t ny) QVX_NOEXCEPT;
QVX_API double ***LinearInterpolationPts2D(double ***set, const double *x, const double *y) QVX_NOEXCEPT;
QVX_API double ***SplineInterpolation2D(double ***set, int32_t nx, int32_t ny) QVX_NOEXCEPT;

/* Index domain: vectors to n elements, matrices to the given columns and
 * rows (Cols: each column to `rows`; Rows: each row to `cols`). ML rounds
 * to integers; Proximal takes the nearest element (MH changes the columns
 * only, MV the rows only). BicubicInterpolationM: Catmull-Rom bicubic
 * patches, the edges extended linearly. */
QVX_API double   *LinearInterpolationV(const double *v, int32_t n) QVX_NOEXCEPT;
QVX_API Complex  *LinearInterpolationVC(const Complex *v, int32_t n) QVX_NOEXCEPT;
QVX_API double   *SplineInterpolationV(const double *v, int32_t n) QVX_NOEXCEPT;
QVX_API double  **LinearInterpolationCols(double **m, int32_t rows) QVX_NOEXCEPT;
QVX_API double  **SplineInterpolationCols(double **m, int32_t rows) QVX_NOEXCEPT;
QVX_API double  **LinearInterpolationRows(double **m, int32_t cols) QVX_NOEXCEPT;
QVX_API double  **LinearInterpolationM(double **m, int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API int32_t **LinearInterpolationML(int32_t **m, int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API double  **ProximalInterpolationM(double **m, int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API double  **ProximalInterpolationMH(double **m, int32_t cols) QVX_NOEXCEPT;
QVX_API double  **ProximalInterpolationMV(double **m, int32_t rows) QVX_NOEXCEPT;
QVX_API double  **BicubicInterpolationM(double **m, int32_t cols, int32_t rows) QVX_NOEXCEPT;

/* Bicubic interpolation in one cell from the values, the derivatives by x1
 * and x2 and the cross derivative at its four corners (Vectors of 4,
 * counter-clockwise from (x1l, x2l)). BicubicCoefficients: Matrix(4, 4),
 * c[i][j] multiplying t^(i-1) u^(j-1) of the unit cell (d1, d2 the cell
 * sides). BicubicInterpolation: the value at (x1, x2), the gradient in
 * *gradient1, *gradient2 (may be null). BicubicInterpolationSquare: the
 * Catmull-Rom patch of a 4 by 4 Matrix of unit-spaced samples p[j][i] (j
 * along x), at (x, y) in [0, 1]^2 between p[2..3][2..3]. */
QVX_API double **BicubicCoefficients(const double *y, const double *y1, const double *y2, const double *y12,
                                     double d1, double d2) QVX_NOEXCEPT;
QVX_API double   BicubicInterpolation(const double *y, const double *y1, const double *y2, const double *y12,
                                      double x1l, double x1u, double x2l, double x2u, double x1, double x2,
                                      double *gradient1, double *gradient2) QVX_NOEXCEPT;
QVX_API double   BicubicInterpolationSquare(double **p, double x, double y) QVX_NOEXCEPT;

/* Smoothing. AdjacentAveraging(C): mean over elements i-m..i+m, cut at the
 * ends, non-finite elements left out; ML the same over a square of radius
 * `radius`, rounded. AdjacentAveragingInterpolation(C): that mean of the
 * ordinates, then straight lines onto n even points. AdjacentInterpolation(C):
 * non-finite elements replaced by straight lines between their finite
 * neighbours (the nearest one beyond the ends). SmoothSpline: Reinsch's
 * smoothing spline, minimising sum (y - g)^2 + lambda * integral g''^2, its
 * values at the abscissas; the 1DC forms smooth real and imaginary parts
 * (Rectangular) or modulus and unwrapped phase (Polar). */
QVX_API double   *AdjacentAveraging(const double *v, int32_t m) QVX_NOEXCEPT;
QVX_API Complex  *AdjacentAveragingC(const Complex *v, int32_t m) QVX_NOEXCEPT;
QVX_API int32_t **AdjacentAveragingML(int32_t **m, int32_t radius) QVX_NOEXCEPT;
QVX_API double  **AdjacentAveragingInterpolation(double **set, int32_t m, int32_t n) QVX_NOEXCEPT;
QVX_API Complex **AdjacentAveragingInterpolationC(Complex **set, int32_t m, int32_t n) QVX_NOEXCEPT;
QVX_API double   *AdjacentInterpolation(const double *v) QVX_NOEXCEPT;
QVX_API Complex  *AdjacentInterpolationC(const Complex *v) QVX_NOEXCEPT;
QVX_API double  **SmoothSpline(double **set, double lambda) QVX_NOEXCEPT;
QVX_API Complex **SmoothSplineRectangular1DC(Complex **set, double lambda) QVX_NOEXCEPT;
QVX_API Complex **SmoothSplinePolar1DC(Complex **set, double lambda) QVX_NOEXCEPT;

/* Cropping keeps what lies inside the bounds (indices 1-based and
 * inclusive, clipped to the container). Centered forms keep n elements
 * around the centre: element m/2+1 of m becomes element n/2+1 (n at most
 * m). Crop2D keeps the abscissas in [x1, x2] and ordinates in [y1, y2].
 * DownSample keeps elements 1, 1 + factor, ... (Cols: the rows of every
 * column). UniformScale maps the finite range of v onto [low, high] (a
 * constant vector to the midpoint). */
QVX_API double   *CropVector(const double *v, int32_t i1, int32_t i2) QVX_NOEXCEPT;
QVX_API Complex  *CropVectorC(const Complex *v, int32_t i1, int32_t i2) QVX_NOEXCEPT;
QVX_API double   *CropVectorCentered(const double *v, int32_t n) QVX_NOEXCEPT;
QVX_API Complex  *CropVectorCenteredC(const Complex *v, int32_t n) QVX_NOEXCEPT;
QVX_API double  **CropMatrix(double **m, int32_t c1, int32_t c2, int32_t r1, int32_t r2) QVX_NOEXCEPT;
QVX_API Complex **CropMatrixC(Complex **m, int32_t c1, int32_t c2, int32_t r1, int32_t r2) QVX_NOEXCEPT;
QVX_API double  **CropMatrixCentered(double **m, int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API Complex **CropMatrixCenteredC(Complex **m, int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API double ***Crop2D(double ***set, double x1, double x2, double y1, double y2) QVX_NOEXCEPT;
QVX_API double   *DownSampleV(const double *v, int32_t factor) QVX_NOEXCEPT;
QVX_API Complex  *DownSampleVC(const Complex *v, int32_t factor) QVX_NOEXCEPT;
QVX_API double  **DownSampleCols(double **m, int32_t factor) QVX_NOEXCEPT;
QVX_API Complex **DownSampleColsC(Complex **m, int32_t factor) QVX_NOEXCEPT;
QVX_API double   *UniformScale(const double *v, double low, double high) QVX_NOEXCEPT;

/* Grids. DiscretizeDomain(C): n even points; IP fills v over its length.
 * DiscretizeDomainN: the points of a box, dims (VectorL) points per axis,
 * as a Matrix of one column per axis and one row per point, the last axis
 * running fastest (the FFTND order). Range: first, first + step, ... up to
 * last. PrimeNumbersRange: the primes in [low, high] (a VectorL; empty for
 * spans above 2^27). */
QVX_API double  *DiscretizeDomain(double x1, double x2, int32_t n) QVX_NOEXCEPT;
QVX_API Complex *DiscretizeDomainC(double x1, double x2, int32_t n) QVX_NOEXCEPT;
QVX_API void     DiscretizeDomainIP(double *v, double x1, double x2) QVX_NOEXCEPT;
QVX_API double **DiscretizeDomainN(const double *lower, const double *upper, const int32_t *dims) QVX_NOEXCEPT;
QVX_API double  *Range(double first, double last, double step) QVX_NOEXCEPT;
QVX_API int32_t *PrimeNumbersRange(int32_t low, int32_t high) QVX_NOEXCEPT;

/* Sampling functions on n even points from x1 to x2: as a set (1D, 1DC,
 * PN, PNC) or as the values only (N1, C, P, PC); DiscretizeV at the
 * elements of x; DiscretizeCC along the segment from z1 to z2 (column 1
 * the points, column 2 the values); NU on a graded grid whose last
 * interval is ratio times the first; DiscretizeN over a box (FFTND order,
 * f given the point as a Vector); 2D and ScalarField2D on an nx by ny grid.
 * DiscretizeAdaptive: bisection where the midpoint strays more than tol
 * from the chord, at most maxPoints points; DiscretizeAdaptiveSub is its
 * worker, which appends its points of (a, b] to xs and ys (element 0 the
 * count so far, capacity the room) and returns the count.
 * DiscretizeRungeKutta1D(C): the solution of y' = f(x, y), y(x1) = y0, by
 * classical Runge-Kutta, four steps between output points. */
QVX_API double  **Discretize1D(RealFn f, double x1, double x2, int32_t n) QVX_NOEXCEPT;
QVX_API Complex **Discretize1DC(ComplexFn f, double x1, double x2, int32_t n) QVX_NOEXCEPT;
QVX_API double  **DiscretizePN(RealFnP f, void *params, double x1, double x2, int32_t n) QVX_NOEXCEPT;
QVX_API Complex **DiscretizePNC(ComplexFnP f, void *params, double x1, double x2, int32_t n) QVX_NOEXCEPT;
QVX_API double   *DiscretizeN1(RealFn f, double x1, double x2, int32_t n) QVX_NOEXCEPT;
QVX_API Complex  *DiscretizeC(ComplexFn f, double x1, double x2, int32_t n) QVX_NOEXCEPT;
QVX_API double   *DiscretizeP(RealFnP f, void *params, double x1, double x2, int32_t n) QVX_NOEXCEPT;
QVX_API Complex  *DiscretizePC(ComplexFnP f, void *params, double x1, double x2, int32_t n) QVX_NOEXCEPT;
QVX_API double   *DiscretizeV(RealFn f, const double *x) QVX_NOEXCEPT;
QVX_API Complex **DiscretizeCC(ComplexFnZ f, Complex z1, Complex z2, int32_t n) QVX_NOEXCEPT;
QVX_API double  **DiscretizeNU(RealFn f, double x1, double x2, int32_t n, double ratio) QVX_NOEXCEPT;
QVX_API Complex **DiscretizeNUC(ComplexFn f, double x1, double x2, int32_t n, double ratio) QVX_NOEXCEPT;
QVX_API double   *DiscretizeN(ScalarFieldFn f, void *params, const double *lower, const double *upper,
                              const int32_t *dims) QVX_NOEXCEPT;
QVX_API double ***Discretize2D(RealFn2 f, void *params, double x1, double x2, double y1, double y2, int32_t nx,
                               int32_t ny) QVX_NOEXCEPT;
QVX_API Complex ***Discretize2DC(ComplexFn2 f, void *params, double x1, double x2, double y1, double y2,
                                 int32_t nx, int32_t ny) QVX_NOEXCEPT;
QVX_API double ***ScalarField2D(ScalarFieldFn f, void *params, double x1, double x2, double y1, double y2,
                                int32_t nx, int32_t ny) QVX_NOEXCEPT;
QVX_API double  **DiscretizeAdaptive(RealFn f, double x1, double x2, double tol, int32_t maxPoints) QVX_NOEXCEPT;
QVX_API int32_t   DiscretizeAdaptiveSub(RealFn f, double a, double fa, double b, double fb, double tol,
                                        int32_t depth, double *xs, double *ys, int32_t capacity) QVX_NOEXCEPT;
QVX_API double  **DiscretizeRungeKutta1D(RealFn2 f, void *params, double x1, double x2, double y0,
                                         int32_t n) QVX_NOEXCEPT;
QVX_API Complex **DiscretizeRungeKutta1DC(ComplexOdeFn1 f, void *params, double x1, double x2, Complex y0,
                                          int32_t n) QVX_NOEXCEPT;

/* Expansions. ChebychevExpansion: n coefficients from the Chebyshev nodes,
 * f(x) ~ sum c[k+1] T_k((2x - a - b)/(b - a)) (c[1] already halved).
 * DiscretizeDFT: the m samples of v taken as one period, resampled to n by
 * trigonometric interpolation (n = m gives v back). SphericalHarmonic:
 * orthonormal Y_l^m(theta, phi) with the Condon-Shortley phase, 0 for
 * |m| > l. */
QVX_API double  *ChebychevExpansion(RealFn f, double a, double b, int32_t n) QVX_NOEXCEPT;
QVX_API Complex *DiscretizeDFT(const Complex *v, int32_t n) QVX_NOEXCEPT;
QVX_API Complex  SphericalHarmonic(int32_t l, int32_t m, double theta, double phi) QVX_NOEXCEPT;

/* Spheres: f at radius * (sin t cos p, sin t sin p, cos t) as a Matrix of
 * nPhi columns (p = 2 pi (j-1)/nPhi) and nTheta rows: t = pi (i-1)/(nTheta-1),
 * or, for CS, cos t = 1 - 2 (i-1)/(nTheta-1). SimpsonIntegal...: the angular
 * integral of such a grid, integral of f dOmega (Simpson along t, the
 * periodic trapezoid along p). */
QVX_API double **DiscretizeSpherical3D(ScalarFieldFn f, void *params, double radius, int32_t nTheta,
                                       int32_t nPhi) QVX_NOEXCEPT;
QVX_API double **DiscretizeSphericalCS3D(ScalarFieldFn f, void *params, double radius, int32_t nTheta,
                                         int32_t nPhi) QVX_NOEXCEPT;
QVX_API double   SimpsonIntegalSpherical3D(double **values) QVX_NOEXCEPT;
QVX_API double   SimpsonIntegalSphericalCS3D(double **values) QVX_NOEXCEPT;

/* Fredholm equations of the second kind, f(x) = g(x) + lambda integral_a^b
 * K(x, t) f(t) dt, by Nystrom's method on n Gauss-Legendre nodes (n up to
 * 2000): a Matrix(3, n) of nodes, weights and solution (NaN when the system
 * is singular). FredholmInterpolation1(C): the solution anywhere by the
 * Nystrom formula, from that matrix. */
QVX_API double  **Fredholm2(RealFn2 kernel, RealFnP g, void *params, double lambda, double a, double b,
                            int32_t n) QVX_NOEXCEPT;
QVX_API Complex **Fredholm21DC(ComplexFn2 kernel, ComplexFnP g, void *params, Complex lambda, double a,
                               double b, int32_t n) QVX_NOEXCEPT;
QVX_API double    FredholmInterpolation1(double **solution, RealFn2 kernel, RealFnP g, void *params,
                                         double lambda, double x) QVX_NOEXCEPT;
QVX_API Complex   FredholmInterpolation1C(Complex **solution, ComplexFn2 kernel, ComplexFnP g, void *params,
                                          Complex lambda, double x) QVX_NOEXCEPT;

/* Adaptive sampling of an expression text of one unknown over [x1, x2]
 * (evaluated in a scratch copy of env; the env's cancel flag stops it):
 * n even samples (3..4096), then midpoints wherever one strays from the
 * chord by more than tolerance times the spread of the first samples (a
 * tolerance <= 0 means 1e-3), up to 16384 points. An empty set when the
 * text can't be sampled or the sampling was cancelled. */
QVX_API double  **AutoSample1D(const char *text, double x1, double x2, int32_t n, double tolerance,
                               Environment *env) QVX_NOEXCEPT;
QVX_API Complex **AutoSample1DC(const char *text, double x1, double x2, int32_t n, double tolerance,
                                Environment *env) QVX_NOEXCEPT;

/* ======================================================================== */
/* Integration, root finding and ODE                                        */
/* ======================================================================== */

/* A 1D set is a Matrix(2, n) (abscissas, ordinates), a 1DC set a
 * MatrixC(2, n) with the abscissas in the real parts; abscissas ascend.
 * BinarySearchPos: index (1..n) of the last element at or below x in an
 * ascending Vector, 0 when x is below the first element or NaN. */
QVX_API int32_t  BinarySearchPos(const double *v, double x) QVX_NOEXCEPT;
/* Simpson's rule over the samples between a and b (abscissas may be
 * unevenly spaced); a > b gives the negated integral; 0 with fewer than two
 * samples in range; NaN for a NaN limit. */
QVX_API Complex  SimpsonIntegral1DC(Complex **set, double a, double b) QVX_NOEXCEPT;
/* Roots and peaks of sampled data: a Vector of abscissas, ascending, length
 * 0 when there are none. A sample whose |value| is at most tolerance is a
 * root itself; sign changes between samples are refined on the local cubic.
 * The C forms look at the real part and keep a root only where the
 * imaginary part vanishes there too. FindRoots also looks at each dip of
 * |value| without a sign change: the parabola through its three samples
 * gives an even-order (touching) root when its vertex is within tolerance
 * of zero, or two roots closer together than the sampling. Peaks are interior local maxima (of the modulus for FindPeaks1DC),
 * refined on the parabola through three samples. */
QVX_API double  *FindSimpleRoots1D(double **set, double tolerance) QVX_NOEXCEPT;
QVX_API double  *FindSimpleRoots1DC(Complex **set, double tolerance) QVX_NOEXCEPT;
QVX_API double  *FindRoots1D(double **set, double tolerance) QVX_NOEXCEPT;
QVX_API double  *FindRoots1DC(Complex **set, double tolerance) QVX_NOEXCEPT;
QVX_API double  *FindPeaks1D(double **set) QVX_NOEXCEPT;
QVX_API double  *FindPeaks1DC(Complex **set) QVX_NOEXCEPT;
/* The n n-th roots of z, k = 0..n-1 at arguments (arg z + 2 pi k)/n; length
 * 0 for n < 1. */
QVX_API Complex *ComplexRoots(Complex z, int32_t n) QVX_NOEXCEPT;
/* New set of n points spread evenly from the first to the last abscissa:
 * natural cubic spline (real and imaginary parts apart), or straight lines. */
QVX_API Complex **SplineInterpolation1DC(Complex **set, int32_t n) QVX_NOEXCEPT;
QVX_API double  **LinearInterpolation1D(double **set, int32_t n) QVX_NOEXCEPT;
/* New Vector with the jumps of more than half a period between neighbours
 * removed by whole periods; NaN elements are kept and skipped. */
QVX_API double  *UnwrapV(const double *v, double period) QVX_NOEXCEPT;

/* Quadrature. Reversed limits give the negated integral. Sampled data:
 * Simpson and trapezoid over the samples between a and b (IntegralD over
 * all of them); Integrator(C) gives the running integral from the first
 * abscissa as a new set. Functions: SimpsonIntegral1 and the Trapezoid
 * forms on n intervals (Simpson makes n even); SimpsonIntegralAdaptive to
 * an absolute tolerance (Sub: its recursive worker, given the whole-panel
 * estimate and f at a, the midpoint and b); Integral, IntegralP, IntegralPC
 * adaptive Gauss-Kronrod 7/15 to max(tol, tol |I|), infinite limits
 * allowed. Integral2 and IntegralV: n-point Gauss-Legendre in each
 * dimension over a rectangle / a box (lower, upper: Vectors). Integral2D:
 * Simpson over a 2D set. */
QVX_API double   SimpsonIntegral1D(double **set, double a, double b) QVX_NOEXCEPT;
QVX_API double   TrapezoidIntegral1D(double **set, double a, double b) QVX_NOEXCEPT;
QVX_API double   IntegralD(double **set) QVX_NOEXCEPT;
QVX_API double **Integrator(double **set) QVX_NOEXCEPT;
QVX_API Complex **IntegratorC(Complex **set) QVX_NOEXCEPT;
QVX_API double   SimpsonIntegral1(RealFn f, double a, double b, int32_t n) QVX_NOEXCEPT;
QVX_API double   SimpsonIntegralAdaptive(RealFn f, double a, double b, double tol) QVX_NOEXCEPT;
QVX_API double   SimpsonIntegralAdaptiveSub(RealFn f, double a, double b, double tol, double whole,
                                            double fa, double fm, double fb, int32_t depth) QVX_NOEXCEPT;
QVX_API double   TrapezoidIntegral(RealFn f, double a, double b, int32_t n) QVX_NOEXCEPT;
QVX_API Complex  TrapezoidIntegralC(ComplexFn f, double a, double b, int32_t n) QVX_NOEXCEPT;
QVX_API double   Integral(RealFn f, double a, double b, double tol) QVX_NOEXCEPT;
QVX_API double   IntegralP(RealFnP f, void *params, double a, double b, double tol) QVX_NOEXCEPT;
QVX_API Complex  IntegralPC(ComplexFnP f, void *params, double a, double b, double tol) QVX_NOEXCEPT;
QVX_API double   Integral2(RealFn2 f, void *params, double ax, double bx, double ay, double by,
                           int32_t n) QVX_NOEXCEPT;
QVX_API double   IntegralV(ScalarFieldFn f, void *params, const double *lower, const double *upper,
                           int32_t n) QVX_NOEXCEPT;
QVX_API double   Integral2D(double ***set) QVX_NOEXCEPT;
/* Gauss rules as a Matrix(2, n): nodes (ascending), weights. Legendre on
 * [-1, 1]; Laguerre for the weight x^alpha e^-x on [0, inf), alpha > -1. */
QVX_API double **GaussLegendre(int32_t n) QVX_NOEXCEPT;
QVX_API double **GaussLaguerre(int32_t n, double alpha) QVX_NOEXCEPT;
/* Sums (compensated) and products of f(k) for k = first..last; an empty
 * range gives 0 and 1. */
QVX_API double   Summation(RealFn term, int32_t first, int32_t last) QVX_NOEXCEPT;
QVX_API double   SummationP(RealFnP term, void *params, int32_t first, int32_t last) QVX_NOEXCEPT;
QVX_API Complex  SummationC(ComplexFn term, int32_t first, int32_t last) QVX_NOEXCEPT;
QVX_API double   Product(RealFn factor, int32_t first, int32_t last) QVX_NOEXCEPT;
QVX_API double   ProductP(RealFnP factor, void *params, int32_t first, int32_t last) QVX_NOEXCEPT;
QVX_API Complex  ProductC(ComplexFn factor, int32_t first, int32_t last) QVX_NOEXCEPT;
/* Random methods draw from the Ran2 cell seed (a private one when null).
 * MonteCarloIntegral: plain sampling of a box, *error (may be null) the
 * standard error. Metropolis1: n states of a Metropolis chain from x0 with
 * uniform moves of up to step. VonNeumannRejection: up to n samples of a
 * density bounded by maximum on [a, b]; fewer when it is (nearly) never
 * accepted. */
QVX_API double   MonteCarloIntegral(ScalarFieldFn f, void *params, const double *lower, const double *upper,
                                    int32_t samples, int32_t *seed, double *error) QVX_NOEXCEPT;
QVX_API double  *Metropolis1(RealFn density, double x0, double step, int32_t n, int32_t *seed) QVX_NOEXCEPT;
QVX_API double  *VonNeumannRejection(RealFn density, double a, double b, double maximum, int32_t n,
                                     int32_t *seed) QVX_NOEXCEPT;

/* ODE y' = f(t, y). Steps return the new y: RK1 Euler, RK2 midpoint,
 * RungeKuttaStep classical fourth order, RungeKuttaCashKarp the fifth-order
 * Cash-Karp step with its embedded error estimate in error (a Vector as
 * long as y, or null). RKN: one Runge-Kutta-Nystrom step of y'' = g(t, y),
 * as a Matrix(2, n): new y, new y'. RungeKutta: `steps` classical steps to
 * t1, the final y; RungeKuttaN: the same, all of them, as a Matrix of n + 1
 * columns (t, then the components) and steps + 1 rows. RungeKuttaIntegrator:
 * adaptive Cash-Karp steps to t1 within tol per step (relative to the
 * scale |y| + |h y'|); RungeKuttaSampler: its values at `samples` evenly
 * spaced times, as RungeKuttaN. RungeKuttaIntegral1D(C): the running
 * integral of f at the adaptive steps, as a 1D set. Failure (no progress,
 * a non-finite value) ends the integration at the last good point. */
QVX_API double  *RK1(OdeFn f, void *params, double t, const double *y, double h) QVX_NOEXCEPT;
QVX_API double  *RK2(OdeFn f, void *params, double t, const double *y, double h) QVX_NOEXCEPT;
QVX_API double  *RungeKuttaStep(OdeFn f, void *params, double t, const double *y, double h) QVX_NOEXCEPT;
QVX_API Complex *RungeKuttaStepC(OdeFnC f, void *params, double t, const Complex *y, double h) QVX_NOEXCEPT;
QVX_API double  *RungeKuttaCashKarp(OdeFn f, void *params, double t, const double *y, double h,
                                    double *error) QVX_NOEXCEPT;
QVX_API Complex *RungeKuttaCashKarpC(OdeFnC f, void *params, double t, const Complex *y, double h,
                                     Complex *error) QVX_NOEXCEPT;
QVX_API double **RKN(OdeFn g, void *params, double t, const double *y, const double *v, double h) QVX_NOEXCEPT;
QVX_API double  *RungeKutta(OdeFn f, void *params, double t0, double t1, const double *y0,
                            int32_t steps) QVX_NOEXCEPT;
QVX_API double **RungeKuttaN(OdeFn f, void *params, double t0, double t1, const double *y0,
                             int32_t steps) QVX_NOEXCEPT;
QVX_API double  *RungeKuttaIntegrator(OdeFn f, void *params, double t0, double t1, const double *y0,
                                      double tol) QVX_NOEXCEPT;
QVX_API Complex *RungeKuttaIntegratorC(OdeFnC f, void *params, double t0, double t1, const Complex *y0,
                                       double tol) QVX_NOEXCEPT;
QVX_API double **RungeKuttaSampler(OdeFn f, void *params, double t0, double t1, const double *y0,
                                   int32_t samples, double tol) QVX_NOEXCEPT;
QVX_API Complex **RungeKuttaSamplerC(OdeFnC f, void *params, double t0, double t1, const Complex *y0,
                                     int32_t samples, double tol) QVX_NOEXCEPT;
QVX_API double **RungeKuttaIntegral1D(RealFnP f, void *params, double a, double b, double tol) QVX_NOEXCEPT;
QVX_API Complex **RungeKuttaIntegral1DC(ComplexFnP f, void *params, double a, double b, double tol) QVX_NOEXCEPT;
/* Numerov's method for y'' = -g(x) y + s(x) (s may be null) on the grid
 * x0 + (i-1) h, i = 1..n, from y(x0) = y0 and y(x0 + h) = y1: a Vector. */
QVX_API double  *NumerovIntegrator(RealFnP g, RealFnP s, void *params, double x0, double h, int32_t n,
                                   double y0, double y1) QVX_NOEXCEPT;
/* Linear first-order ODE y' = p(x) y + q(x), y(x0) = y0, sampled at n points
 * from x0 to x1: a 1D (1DC) set. */
QVX_API double **LODE1(RealFn p, RealFn q, double x0, double x1, double y0, int32_t n) QVX_NOEXCEPT;
QVX_API Complex **LODE1C(ComplexFn p, ComplexFn q, double x0, double x1, Complex y0, int32_t n) QVX_NOEXCEPT;

/* Derivatives of functions: h is the initial step (h <= 0 picks one).
 * Derivative: Ridders' extrapolation of central differences; Derivative2
 * the second derivative likewise; DerivativeN central differences of any
 * order up to 12. V forms: at every element of x, a new Vector.
 * DerivativeWeights: Fornberg's weights of the derivative of the order at
 * x0 from values at the nodes (a Vector). */
QVX_API double   Derivative(RealFn f, double x, double h) QVX_NOEXCEPT;
QVX_API double   DerivativeP(RealFnP f, void *params, double x, double h) QVX_NOEXCEPT;
QVX_API double  *DerivativeV(RealFn f, const double *x, double h) QVX_NOEXCEPT;
QVX_API double  *DerivativePV(RealFnP f, void *params, const double *x, double h) QVX_NOEXCEPT;
QVX_API double   Derivative2(RealFn f, double x, double h) QVX_NOEXCEPT;
QVX_API double   Derivative2P(RealFnP f, void *params, double x, double h) QVX_NOEXCEPT;
QVX_API double  *Derivative2V(RealFn f, const double *x, double h) QVX_NOEXCEPT;
QVX_API double  *Derivative2PV(RealFnP f, void *params, const double *x, double h) QVX_NOEXCEPT;
QVX_API double   DerivativeN(RealFn f, double x, int32_t order, double h) QVX_NOEXCEPT;
QVX_API double  *DerivativeWeights(int32_t order, const double *nodes, double x0) QVX_NOEXCEPT;
/* Derivatives of sampled data (three-point formulas for uneven spacing,
 * one-sided at the ends): Derivative1D(C) a new set, Gradient1D(C) the
 * first and Laplacian1D(C) the second derivative as a Vector.
 * DerivativeDCyclic: periodic samples of spacing dx, fourth-order central
 * differences; DerivativeSpectral: periodic samples over one period,
 * through the discrete Fourier transform. */
QVX_API double **Derivative1D(double **set) QVX_NOEXCEPT;
QVX_API Complex **Derivative1DC(Complex **set) QVX_NOEXCEPT;
QVX_API double  *Gradient1D(double **set) QVX_NOEXCEPT;
QVX_API Complex *Gradient1DC(Complex **set) QVX_NOEXCEPT;
QVX_API double  *Laplacian1D(double **set) QVX_NOEXCEPT;
QVX_API Complex *Laplacian1DC(Complex **set) QVX_NOEXCEPT;
QVX_API double  *DerivativeDCyclic(const double *v, double dx) QVX_NOEXCEPT;
QVX_API double  *DerivativeSpectral(const double *v, double period) QVX_NOEXCEPT;
/* 2D sets (MatrixVector2D: values m[j][i] at abscissa j, ordinate i): new
 * 2D sets of partial derivatives of the orders (0..2 each) in x and y;
 * Cyclic takes both directions as periodic with the spacing of the first
 * two points. Gradient2D: a MatrixVector of 2 value matrices (d/dx, d/dy). */
QVX_API double ***Derivative2D(double ***set, int32_t orderX, int32_t orderY) QVX_NOEXCEPT;
QVX_API double ***Derivative2DCyclic(double ***set, int32_t orderX, int32_t orderY) QVX_NOEXCEPT;
QVX_API double ***PartialDerivativeX2D(double ***set) QVX_NOEXCEPT;
QVX_API double ***PartialDerivativeY2D(double ***set) QVX_NOEXCEPT;
QVX_API double ***PartialDerivative2X2D(double ***set) QVX_NOEXCEPT;
QVX_API double ***PartialDerivative2Y2D(double ***set) QVX_NOEXCEPT;
QVX_API double ***PartialDerivativeMixed2D(double ***set) QVX_NOEXCEPT;
QVX_API double ***Gradient2D(double ***set) QVX_NOEXCEPT;
QVX_API double ***Laplacian2D(double ***set) QVX_NOEXCEPT;
/* Vector calculus at a point r by central differences of step h (h <= 0
 * picks one). Cartesian forms work in the dimension of r (Curl needs 3);
 * Cyl points are (rho, phi, z), Sph points (r, theta, phi), and fields and
 * results are in the local unit vectors of those coordinates. */
QVX_API double  *Grad(ScalarFieldFn f, void *params, const double *r, double h) QVX_NOEXCEPT;
QVX_API double  *GradCyl(ScalarFieldFn f, void *params, const double *r, double h) QVX_NOEXCEPT;
QVX_API double  *GradSph(ScalarFieldFn f, void *params, const double *r, double h) QVX_NOEXCEPT;
QVX_API double   Div(VectorFieldFn f, void *params, const double *r, double h) QVX_NOEXCEPT;
QVX_API double   DivCyl(VectorFieldFn f, void *params, const double *r, double h) QVX_NOEXCEPT;
QVX_API double   DivSph(VectorFieldFn f, void *params, const double *r, double h) QVX_NOEXCEPT;
QVX_API double  *Curl(VectorFieldFn f, void *params, const double *r, double h) QVX_NOEXCEPT;
QVX_API double  *CurlCyl(VectorFieldFn f, void *params, const double *r, double h) QVX_NOEXCEPT;
QVX_API double  *CurlSph(VectorFieldFn f, void *params, const double *r, double h) QVX_NOEXCEPT;
QVX_API double   Lapl(ScalarFieldFn f, void *params, const double *r, double h) QVX_NOEXCEPT;
QVX_API double   LaplCyl(ScalarFieldFn f, void *params, const double *r, double h) QVX_NOEXCEPT;
QVX_API double   LaplSph(ScalarFieldFn f, void *params, const double *r, double h) QVX_NOEXCEPT;
/* Line integral of a field along curve(t), t0..t1, and surface integrals
 * over surface(u, v) (of a scalar, and the flux of a field, oriented by
 * dr/du x dr/dv), by n-point Gauss-Legendre in each parameter. dim is the
 * length of the curve's points. */
QVX_API double   IntegralPath(VectorFieldFn f, CurveFn curve, void *params, int32_t dim, double t0, double t1,
                              int32_t n) QVX_NOEXCEPT;
QVX_API double   IntegralSurfaceS(ScalarFieldFn f, SurfaceFn surface, void *params, double u0, double u1,
                                  double v0, double v1, int32_t n) QVX_NOEXCEPT;
QVX_API double   IntegralSurfaceV(VectorFieldFn f, SurfaceFn surface, void *params, double u0, double u1,
                                  double v0, double v1, int32_t n) QVX_NOEXCEPT;

/* ======================================================================== */
/* Fitting and optimisation                                                 */
/* ======================================================================== */

/* Fitting. Data are 1D sets (Matrix(2, n)); a third column, when present,
 * holds the standard deviations of the ordinates. Polynomial coefficients
 * ascend (c[1] the constant term). PolyFit(Function) and the
 * PolynomialFit family are least squares by Householder QR: NaN
 * coefficients with fewer points than coefficients; PolynomialFit2 gives
 * a Matrix(2, degree + 1) of coefficients and standard errors,
 * PolynomialFitFunc a new 1D set of fitted values. SavitzkyGolayCoefficients:
 * weights of the window -left..right for the derivative at its centre;
 * SavitzkyGolay smooths with half width m, windows shifted inside at the ends.
 * Model fits minimise chi-square by the downhill simplex. GaussianFit:
 * y0 + A exp(-(x-c)^2/(2 w^2)); LorentzianFit: y0 + A w^2/((x-c)^2 + w^2);
 * the Fit texts read "A = ..\nc = ..\nw = ..\ny0 = ..\n" and the Function
 * texts one line "x y" per abscissa (FreeString); null with fewer than 4
 * points. */
typedef double (*FitModelFn)(double x, const double *p, void *data);  /* p: a Vector of parameters */
QVX_API double   PolyEval(const double *c, double x) QVX_NOEXCEPT;
QVX_API double  *PolyFit(const double *x, const double *y, int32_t degree) QVX_NOEXCEPT;
QVX_API double  *PolyFitFunction(const double *x, const double *y, int32_t degree) QVX_NOEXCEPT;
QVX_API double  *PolynomialFit(double **set, int32_t degree) QVX_NOEXCEPT;
QVX_API double **PolynomialFit2(double **set, int32_t degree) QVX_NOEXCEPT;
QVX_API double **PolynomialFitFunc(double **set, int32_t degree) QVX_NOEXCEPT;
QVX_API double  *SavitzkyGolayCoefficients(int32_t left, int32_t right, int32_t order, int32_t derivative) QVX_NOEXCEPT;
QVX_API double  *SavitzkyGolay(const double *v, int32_t m, int32_t order) QVX_NOEXCEPT;
QVX_API double   ChiSquare(double **set, FitModelFn model, const double *p, void *data) QVX_NOEXCEPT;
QVX_API double  *MinimizeChiSquare(double **set, FitModelFn model, const double *start, void *data) QVX_NOEXCEPT;
QVX_API char    *GaussianFit(double **set) QVX_NOEXCEPT;
QVX_API char    *GaussianFitFunction(double **set) QVX_NOEXCEPT;
QVX_API char    *LorentzianFit(double **set) QVX_NOEXCEPT;
QVX_API char    *LorentzianFitFunction(double **set) QVX_NOEXCEPT;
/* Minimisers. Amoeba: Nelder-Mead from start with axis steps `step`, to a
 * relative spread tol of the vertex values or maxEvaluations calls; returns
 * the best vertex. AmoebaTry: one move of the worst vertex `high` of a
 * simplex (Matrix(n + 1, n), one vertex a column) by factor (-1 reflect,
 * 2 expand, 0.5 contract), replacing it when better; returns the trial
 * value. BracketMinimum: Vector(3) a, b, c with f(b) below f(a) and f(c)
 * (NaNs when none is found). BrentMinimization: the minimum value in the
 * bracket, its abscissa in *xmin; tol <= 0 means 3e-8. NaN function values
 * count as +infinity. SimulatedAnnealing: the best point of a Metropolis
 * walk cooled geometrically from temperature. */
QVX_API double  *Amoeba(ScalarFieldFn f, void *params, const double *start, double step, double tol,
                        int32_t maxEvaluations) QVX_NOEXCEPT;
QVX_API double   AmoebaTry(double **simplex, double *values, double *sum, ScalarFieldFn f, void *params,
                           int32_t high, double factor) QVX_NOEXCEPT;
QVX_API double  *BracketMinimum(RealFnP f, void *params, double a, double b) QVX_NOEXCEPT;
QVX_API double   BrentMinimization(RealFnP f, void *params, double a, double b, double c, double tol,
                                   double *xmin) QVX_NOEXCEPT;
QVX_API double  *SimulatedAnnealing(ScalarFieldFn f, void *params, const double *start, double step,
                                    double temperature, int32_t iterations, int32_t *seed) QVX_NOEXCEPT;
/* Roots. Bisection: NaN without a sign change; BisectionN: every sign change
 * among n equal subintervals, refined, as a Vector. NewtonRaphson: df may
 * be null (central differences); NaN when it does not converge.
 * NewtonRaphsonN: a system f(x) = 0, Jacobian by differences; NaNs when it
 * does not converge. */
QVX_API double   Bisection(RealFnP f, void *params, double a, double b, double tol) QVX_NOEXCEPT;
QVX_API double  *BisectionN(RealFnP f, void *params, double a, double b, int32_t n, double tol) QVX_NOEXCEPT;
QVX_API double   NewtonRaphson(RealFnP f, RealFnP df, void *params, double x0, double tol) QVX_NOEXCEPT;
QVX_API double  *NewtonRaphsonN(VectorFieldFn f, void *params, const double *x0, double tol) QVX_NOEXCEPT;
/* Roots of J of the order in (0, limit], found from n samples (sign changes
 * between neighbouring samples, refined to 1e-15): a Vector, length 0 when
 * there are none. Two roots between neighbouring samples are missed. */
QVX_API double *BesselFuncRoots(double order, double limit, int32_t n) QVX_NOEXCEPT;

/* ======================================================================== */
/* Special functions                                                        */
/* ======================================================================== */

/* Bessel functions of real order. The cores need x > 0 and order >= 0 (NaN
 * otherwise); any output pointer may be null. The public J, Y, I, K accept
 * any real x and order: x < 0 multiplies by (cos pi order, sin pi order), a
 * negative order uses the reflection formulas. */
QVX_API void    BesselGammas(double x, double *gam1, double *gam2, double *gampl,
                             double *gammi) QVX_NOEXCEPT;  /* |x| <= 1/2 */
QVX_API void    BesselFuncSub(double x, double order, double *j, double *y, double *jprime,
                              double *yprime) QVX_NOEXCEPT;
QVX_API void    BesselModFuncSub(double x, double order, double *i, double *k, double *iprime,
                                 double *kprime) QVX_NOEXCEPT;
QVX_API double  BesselFuncSeries(double x, double order) QVX_NOEXCEPT;  /* J by its power series */
QVX_API Complex BesselJFunc(double x, double order) QVX_NOEXCEPT;
QVX_API Complex BesselYFunc(double x, double order) QVX_NOEXCEPT;
QVX_API Complex BesselIFunc(double x, double order) QVX_NOEXCEPT;
QVX_API Complex BesselKFunc(double x, double order) QVX_NOEXCEPT;
QVX_API void    AiryFuncSub(double x, double *ai, double *bi, double *aiprime,
                            double *biprime) QVX_NOEXCEPT;

/* Gamma family. GammaLn and GammaLnC give log|Gamma| (GammaLnC's imaginary
 * part is the phase modulo 2 pi); BetaFuncI is the regularised incomplete
 * beta function, BetaFuncCF its continued fraction. */
QVX_API double  GammaLn(double x) QVX_NOEXCEPT;
QVX_API Complex GammaLnC(Complex z) QVX_NOEXCEPT;
QVX_API double  DigammaFunc(double x) QVX_NOEXCEPT;
QVX_API double  BetaFuncCF(double a, double b, double x) QVX_NOEXCEPT;
QVX_API double  BetaFuncI(double a, double b, double x) QVX_NOEXCEPT;
QVX_API double  StudentPValue(double t, double dof) QVX_NOEXCEPT;        /* two-sided */
QVX_API double  StudentCriticalValue(double p, double dof) QVX_NOEXCEPT; /* |t| of two-sided p */
QVX_API double  BernoulliNumber(int32_t n) QVX_NOEXCEPT;                 /* B_1 = -1/2 */

/* Factorials (NaN for negative arguments). The product forms take VectorL
 * lists of arguments; the ratio forms divide the numerator list's product by
 * the denominator list's. FactorialZeros counts the trailing zeros of n!. */
QVX_API double  Factorial(int32_t n) QVX_NOEXCEPT;
QVX_API double  FactorialLn(int32_t n) QVX_NOEXCEPT;
QVX_API double  FactorialRatio(int32_t n, int32_t m) QVX_NOEXCEPT;   /* n!/m! */
QVX_API double  FactorialRatioLn(int32_t n, int32_t m) QVX_NOEXCEPT;
QVX_API double  FactorialProduct(const int32_t *v) QVX_NOEXCEPT;
QVX_API double  FactorialProduct3(int32_t a, int32_t b, int32_t c) QVX_NOEXCEPT;
QVX_API double  FactorialProductLn(const int32_t *v) QVX_NOEXCEPT;
QVX_API double  FactorialProductRatio(const int32_t *num, const int32_t *den) QVX_NOEXCEPT;
QVX_API double  FactorialProductRatioLn(const int32_t *num, const int32_t *den) QVX_NOEXCEPT;
QVX_API int32_t FactorialZeros(int32_t n) QVX_NOEXCEPT;
QVX_API double  Comb(int32_t n, int32_t k) QVX_NOEXCEPT;
QVX_API double  Perm(int32_t n, int32_t k) QVX_NOEXCEPT;
QVX_API double *Pascal(int32_t n) QVX_NOEXCEPT;  /* Vector(n + 1): row n */

/* Orthogonal polynomials, hydrogen states (atomic units), Wigner 3j symbols.
 * LegendreFunc includes the Condon-Shortley phase and is 0 unless |m| <= l
 * and |x| <= 1. The 3j functions take integers or half integers; the
 * Symbols forms return a Vector over j1 from *j1min up to j2 + j3. */
QVX_API double  LegendreFunc(double x, int32_t l, int32_t m) QVX_NOEXCEPT;
QVX_API double  LegendrePolynomial(double x, int32_t l) QVX_NOEXCEPT;
QVX_API double  LaguerreFunc(double x, int32_t n, double alpha) QVX_NOEXCEPT;
QVX_API Complex HydrogenWaveFunc(int32_t n, int32_t l, int32_t m, double r, double theta,
                                 double phi) QVX_NOEXCEPT;
QVX_API double  Wigner3J(double j1, double j2, double j3, double m1, double m2,
                         double m3) QVX_NOEXCEPT;
QVX_API double  Wigner3JSymbolSpecial1(double j, double m) QVX_NOEXCEPT;  /* (j j 0; m -m 0) */
QVX_API double  Wigner3JSymbolSpecial2(int32_t j1, int32_t j2, int32_t j3) QVX_NOEXCEPT; /* m = 0 */
QVX_API double *Wigner3JSymbols(double j2, double j3, double m2, double m3,
                                double *j1min) QVX_NOEXCEPT;
QVX_API double *Wigner3JSymbolsSpecial(int32_t j2, int32_t j3, int32_t *j1min) QVX_NOEXCEPT;

/* Coulomb wave functions for real eta, x > 0, L >= 0; Wronskian F'G - FG' = 1.
 * Functions returning int32_t give 0 on success and -1 (NaN outputs) when
 * the arguments are outside the domain or nothing converged. FPF is F'/F by
 * the first continued fraction, HPH is (G' + iF')/(G + iF) by the second. */
QVX_API int32_t CoulombWaveFunc(double eta, double x, double L, double *F, double *G,
                                double *Fp, double *Gp) QVX_NOEXCEPT;
QVX_API double  CoulombWaveFuncF(double eta, double x, double L) QVX_NOEXCEPT;
QVX_API double  CoulombWaveFuncG(double eta, double x, double L) QVX_NOEXCEPT;
QVX_API int32_t CoulombWaveFuncCF(double eta, double x, double L, double *F, double *G,
                                  double *Fp, double *Gp) QVX_NOEXCEPT;
QVX_API double  CoulombWaveFuncFPF(double eta, double x, double L) QVX_NOEXCEPT;
QVX_API Complex CoulombWaveFuncHPH(double eta, double x, double L) QVX_NOEXCEPT;
QVX_API int32_t CoulombWaveFuncNear(double eta, double x, double L, double *F, double *G,
                                    double *Fp, double *Gp) QVX_NOEXCEPT;
QVX_API double  CoulombWaveFuncFSeries(double eta, double x, double L) QVX_NOEXCEPT;
QVX_API double  CoulombWaveFuncFPrimeSeries(double eta, double x, double L) QVX_NOEXCEPT;
QVX_API int32_t CoulombWaveFuncBess(double x, double L, double *F, double *G, double *Fp,
                                    double *Gp) QVX_NOEXCEPT;  /* eta = 0 */
QVX_API void    CoulombWaveFuncBesselSph(double x, double L, double *j, double *y, double *jp,
                                         double *yp) QVX_NOEXCEPT;
QVX_API int32_t CoulombWaveFuncIntegrateF0ABM(double eta, double x, double L, double *F,
                                              double *Fp) QVX_NOEXCEPT;
QVX_API int32_t CoulombWaveFuncIntegrateG0ABM(double eta, double x, double L, double *G,
                                              double *Gp) QVX_NOEXCEPT;
QVX_API double  CoulombWaveFuncIntegrateFABM(double eta, double x, double L) QVX_NOEXCEPT;
QVX_API double  CoulombWaveFuncIntegrateFPrimeABM(double eta, double x, double L) QVX_NOEXCEPT;
QVX_API double  CoulombWaveFuncIntegrateGABM(double eta, double x, double L) QVX_NOEXCEPT;
QVX_API double  CoulombWaveFuncIntegrateGPrimeABM(double eta, double x, double L) QVX_NOEXCEPT;

/* Pulse, window and step shapes. Pulses are centred on 0 and vanish outside
 * their width; HannFunc spans [0, width]; ToothFunc rises from 0 to 1 over
 * each period; CombSpikeFunc is 1 at multiples of the period; SmoothStepFunc
 * is the Hermite step 3t^2 - 2t^3 across [-width/2, width/2]; the smooth
 * squares have edges of that shape and width edge. */
QVX_API double  ZeroFunc(double x) QVX_NOEXCEPT;
QVX_API double  UnityFunc(double x) QVX_NOEXCEPT;
QVX_API Complex ZeroFunc1DC(double x) QVX_NOEXCEPT;
QVX_API Complex UnityFunc1DC(double x) QVX_NOEXCEPT;
QVX_API double  DeltaFunc(double x) QVX_NOEXCEPT;      /* 1 at x = 0 */
QVX_API double  HeavisideFunc(double x) QVX_NOEXCEPT;  /* 1 for x >= 0 */
QVX_API double  SincFunc(double x) QVX_NOEXCEPT;       /* sin(x)/x */
QVX_API double  SquareFunc(double x, double width) QVX_NOEXCEPT;
QVX_API double  TriangleFunc(double x, double width) QVX_NOEXCEPT;
QVX_API double  ToothFunc(double x, double period) QVX_NOEXCEPT;
QVX_API double  HalfCircleFunc(double x, double radius) QVX_NOEXCEPT;
QVX_API double  QuarterCircleFunc(double x, double radius) QVX_NOEXCEPT;
QVX_API double  Cos2PulseFunc(double x, double width) QVX_NOEXCEPT;
QVX_API double  Cos4PulseFunc(double x, double width) QVX_NOEXCEPT;
QVX_API double  Cos8PulseFunc(double x, double width) QVX_NOEXCEPT;
QVX_API double  HannFunc(double x, double width) QVX_NOEXCEPT;
QVX_API double  CombSpikeFunc(double x, double period) QVX_NOEXCEPT;
QVX_API double  SmoothStepFunc(double x, double width) QVX_NOEXCEPT;
QVX_API double  SmoothSquareFunc(double x, double width, double edge) QVX_NOEXCEPT;
QVX_API double  SmoothSquareFunc2D(double x, double y, double widthX, double widthY,
                                   double edge) QVX_NOEXCEPT;
QVX_API Complex SmoothSquareFuncC(double x, double width, double edge) QVX_NOEXCEPT;

/* ======================================================================== */
/* Random numbers and number theory                                         */
/* ======================================================================== */

/* Random deviates, drawn from the Ran2 cell seed (a private cell seeded
 * with -1 when null). BoxMuller: a pair of independent standard normal
 * deviates (re, im); BoxMuller1/2 one of its parts. Poisson: Knuth's method
 * below a mean of 10, transformed rejection above. Randomize*: new
 * containers of uniform deviates in [low, high). Ran22: the combined
 * generator with its shuffle state carried in 35 caller-owned words
 * (state[0] below 1 seeds). Ran2P, Ran2P2: Ran2 in callback shape, params
 * the seed cell. RandomInteger2: [low, high] from two draws, even over
 * spans near 2^32. RandomIntegerP: params leads to int32 low, high, cell. */
QVX_API Complex  BoxMuller(int32_t *seed) QVX_NOEXCEPT;
QVX_API double   BoxMuller1(int32_t *seed) QVX_NOEXCEPT;
QVX_API double   BoxMuller2(int32_t *seed) QVX_NOEXCEPT;
QVX_API double   RandomRealNormal(double mean, double sigma, int32_t *seed) QVX_NOEXCEPT;
QVX_API double   PoissonRandomNumber(double mean, int32_t *seed) QVX_NOEXCEPT;
QVX_API double  *PoissonRandomNumbers(int32_t n, double mean, int32_t *seed) QVX_NOEXCEPT;
QVX_API double  *RandomizeVector(int32_t n, double low, double high, int32_t *seed) QVX_NOEXCEPT;
QVX_API Complex *RandomizeVectorC(int32_t n, double low, double high, int32_t *seed) QVX_NOEXCEPT;
QVX_API double **RandomizeMatrix(int32_t cols, int32_t rows, double low, double high, int32_t *seed) QVX_NOEXCEPT;
QVX_API Complex **RandomizeMatrixC(int32_t cols, int32_t rows, double low, double high, int32_t *seed) QVX_NOEXCEPT;
QVX_API double   Ran22(int32_t *state) QVX_NOEXCEPT;
QVX_API double   Ran2P(double x, void *params) QVX_NOEXCEPT;
QVX_API double   Ran2P2(double x, double y, void *params) QVX_NOEXCEPT;
QVX_API int32_t  RandomInteger2(int32_t low, int32_t high, int32_t *seed) QVX_NOEXCEPT;
QVX_API double   RandomIntegerP(double x, void *params) QVX_NOEXCEPT;
/* Niederreiter sequence in base 2 (31 bits, up to 1024 dimensions):
 * Niederreiter gives points 0..n-1 as a Matrix(dim, n), from the origin;
 * Niederreiter1 point number index alone. The steps of the construction:
 * Setfld2 the irreducible GF(2) polynomials (bit k: coefficient of x^k) of
 * the dimensions, PlyMul2 a product of such polynomials (0 past degree
 * 63), CalcV2 the sequence v[0..maxv] (a VectorL) for px and the running
 * product pb, CalcC2 the direction numbers as a MatrixL(dim, 31). */
QVX_API double **Niederreiter(int32_t dim, int32_t n) QVX_NOEXCEPT;
QVX_API double  *Niederreiter1(int32_t dim, int32_t index) QVX_NOEXCEPT;
QVX_API int32_t *NiederreiterSetfld2(int32_t dim) QVX_NOEXCEPT;
QVX_API uint64_t NiederreiterPlyMul2(uint64_t a, uint64_t b) QVX_NOEXCEPT;
QVX_API int32_t *NiederreiterCalcV2(uint64_t px, uint64_t pb, int32_t maxv) QVX_NOEXCEPT;
QVX_API int32_t **NiederreiterCalcC2(int32_t dim) QVX_NOEXCEPT;

/* Number theory on integer-valued doubles (exact up to 2^53). Even, Odd,
 * Divisible: 1 or 0 (0 for non-integers). NextPow: the least power of two
 * at or above n (0 above 2^30). ModularExponentiation: NaN for a modulus
 * below 1 or a negative exponent. Primes: PrimeNumbers the first n,
 * PrimeNumbersSieve those up to limit, PrimeNumbersSmall the same as a
 * VectorL, PrimeNumbersSub those in [low, high] (a window of at most 1e8);
 * PrimeNumber the n-th (-1 outside 1..1e8); PrimeCount pi(x) (-1 above
 * 1e12). Factorisations are Matrix(2, k) of primes and exponents, as
 * PrimeFactors2: AddPrimeFactors merges two (the product), TestPrimeFactors
 * checks one against n; PrimeFactorsSmall lists the factors of n with
 * repetition; Divisors ascend; PrimitiveRootPrime the least root, -1 when p
 * is not prime. */
QVX_API int32_t  Even(double x) QVX_NOEXCEPT;
QVX_API int32_t  Odd(double x) QVX_NOEXCEPT;
QVX_API int32_t  Divisible(double a, double b) QVX_NOEXCEPT;
QVX_API int32_t  NextPow(int32_t n) QVX_NOEXCEPT;
QVX_API double   ModularExponentiation(double base, double exponent, double modulus) QVX_NOEXCEPT;
QVX_API double  *PrimeNumbers(int32_t n) QVX_NOEXCEPT;
QVX_API double  *PrimeNumbersSieve(double limit) QVX_NOEXCEPT;
QVX_API int32_t *PrimeNumbersSmall(int32_t limit) QVX_NOEXCEPT;
QVX_API double  *PrimeNumbersSub(double low, double high) QVX_NOEXCEPT;
QVX_API double   PrimeNumber(double n) QVX_NOEXCEPT;
QVX_API double   PrimeCount(double x) QVX_NOEXCEPT;
QVX_API double **AddPrimeFactors(double **a, double **b) QVX_NOEXCEPT;
QVX_API int32_t  TestPrimeFactors(double n, double **factors) QVX_NOEXCEPT;
QVX_API int32_t *PrimeFactorsSmall(int32_t n) QVX_NOEXCEPT;
QVX_API double  *Divisors(double n) QVX_NOEXCEPT;
QVX_API double   PrimitiveRootPrime(double p) QVX_NOEXCEPT;
/* Enumerations: one item per row, one position per column, lexicographic;
 * empty (0 rows) beyond 2^24 elements. Generate* work on 1..n; Enumerate*
 * on the elements of v, by position (the Sub forms are the recursive
 * workers: they fill `out` from row *row + 1). GenerateComb steps the
 * ascending VectorL c to the next k-subset of 1..n in place (0 at the end).
 * GenerateRow*: row `index` (1-based) alone. CartesianProduct: the pairs
 * (a_i, b_j), j fastest, as a Matrix(2, na nb). */
QVX_API double **GenerateCombinations(int32_t n, int32_t k) QVX_NOEXCEPT;
QVX_API int32_t **GenerateCombinationsL(int32_t n, int32_t k) QVX_NOEXCEPT;
QVX_API int32_t  GenerateComb(int32_t *c, int32_t n) QVX_NOEXCEPT;
QVX_API double  *GenerateRowCombination(int32_t n, int32_t k, double index) QVX_NOEXCEPT;
QVX_API double **GeneratePermutations(int32_t n) QVX_NOEXCEPT;
QVX_API int32_t **GeneratePermutationsL(int32_t n) QVX_NOEXCEPT;
QVX_API double  *GenerateRowPermutation(int32_t n, double index) QVX_NOEXCEPT;
QVX_API double **EnumerateCombinations(const double *v, int32_t k) QVX_NOEXCEPT;
QVX_API void     EnumerateCombinationsSub(const double *v, int32_t k, int32_t start, int32_t depth, double *current,
                                          double **out, int32_t *row) QVX_NOEXCEPT;
QVX_API double **EnumeratePermutations(const double *v) QVX_NOEXCEPT;
QVX_API double **EnumerateTuples(const double *v, int32_t k) QVX_NOEXCEPT;
QVX_API void     EnumerateTuplesSub(const double *v, int32_t k, int32_t depth, double *current, double **out,
                                    int32_t *row) QVX_NOEXCEPT;
QVX_API double **CartesianProduct(const double *a, const double *b) QVX_NOEXCEPT;

/* ======================================================================== */
/* Strings, text files and hashes                                           */
/* ======================================================================== */

/* Numbers to text. All results are new texts (FreeString). DoubleString is
 * the number text of the whole system: "0" for zero, ">invalid_expression<"
 * for NaN and the infinities; 1e-3 <= |x| < 1e4 prints in decimals, rounded
 * to `digits` significant digits with trailing zeros removed; other values as
 * mantissa "e" exponent, with "+" before a positive exponent ("1.5e+20",
 * "2e-7"). */
QVX_API char   *DoubleString(double x, int32_t digits) QVX_NOEXCEPT;
QVX_API char   *DoubleStringDecimal(double x, int32_t places) QVX_NOEXCEPT;      /* exact, `places` decimals */
QVX_API char   *DoubleStringExponential(double x, int32_t digits) QVX_NOEXCEPT;  /* d.ddde+XX, `digits` digits */
QVX_API char   *DoubleStringRound(const char *text, int32_t digits) QVX_NOEXCEPT; /* decimal text, half up */
QVX_API char   *DoubleStringCleanZeros(const char *text) QVX_NOEXCEPT;  /* drops fraction zeros, bare point */
QVX_API char   *RoundDoubleString(double x, int32_t decimals) QVX_NOEXCEPT;
QVX_API char   *RoundDoubleStringWithSpacePadding(double x, int32_t decimals) QVX_NOEXCEPT; /* zeros -> blanks */
/* The first `digits` characters of a digit text, rounded half up on the next
 * digit. When every kept digit rolls over (997 to 2 digits), the result is
 * all zeros ("00") and *carry (may be null) is set to 1, else to 0. */
QVX_API char   *RoundIntegerString(const char *text, int32_t digits, int32_t *carry) QVX_NOEXCEPT;
QVX_API char   *IntString(int64_t value) QVX_NOEXCEPT;
QVX_API char   *IntStringLZ(int64_t value, int32_t width) QVX_NOEXCEPT;  /* leading zeros to width */
QVX_API char   *UInt64String(uint64_t value) QVX_NOEXCEPT;
QVX_API uint64_t UInt64FromString(const char *text) QVX_NOEXCEPT;  /* saturates; 0 if no digits */
QVX_API char   *ComplexString(Complex z, int32_t digits) QVX_NOEXCEPT;   /* "1+2i", "-2i", "3" */
QVX_API char   *CharString(char c) QVX_NOEXCEPT;                         /* one-character text */
QVX_API char    StringChar(const char *text) QVX_NOEXCEPT;               /* first character, 0 if none */

/* String handling. Texts returned are new (FreeString); a null text reads as
 * empty. The rewriting helpers take an owned text by reference, replace it
 * (the old block is wiped and freed), store and return the new pointer.
 * Positions are 0-based; (first, last) ranges include both ends and are
 * clamped. Searches answer -1 when nothing is found (also for an empty
 * needle). StringVectors cannot hold empty strings: tokenisers drop them. */
QVX_API char   *Concat(const char *a, const char *b) QVX_NOEXCEPT;
QVX_API char   *Concat3(const char *a, const char *b, const char *c) QVX_NOEXCEPT;
QVX_API char   *Concat4(const char *a, const char *b, const char *c, const char *d) QVX_NOEXCEPT;
QVX_API char   *Concat5(const char *a, const char *b, const char *c, const char *d, const char *e) QVX_NOEXCEPT;
QVX_API char   *ConcatN(int32_t n, ...) QVX_NOEXCEPT;              /* n texts (const char *) */
QVX_API char   *ConcatStringVector(char **v) QVX_NOEXCEPT;
QVX_API char   *AppendChar(char **text, char c) QVX_NOEXCEPT;
QVX_API char   *AppendS(char **text, const char *suffix) QVX_NOEXCEPT;
QVX_API char   *AppendString(char **text, const char *suffix, int32_t length) QVX_NOEXCEPT; /* <= length bytes */
QVX_API char   *AugmentString(char **text, int32_t length, char fill) QVX_NOEXCEPT;  /* pad right to length */
QVX_API char   *InsertChar(char **text, char c, int32_t position) QVX_NOEXCEPT;      /* before position */
QVX_API char   *InsertStr(char **text, const char *insert, int32_t position) QVX_NOEXCEPT;
QVX_API char   *CropString(const char *text, int32_t first, int32_t last) QVX_NOEXCEPT;
QVX_API char  **CropStringVector(char **v, int32_t first, int32_t last) QVX_NOEXCEPT;
QVX_API int32_t FindS(const char *text, const char *needle) QVX_NOEXCEPT;
QVX_API int32_t StrStr(const char *text, const char *needle, int32_t start) QVX_NOEXCEPT;
QVX_API char   *StrTokR(char *text, const char *delimiters, char **state) QVX_NOEXCEPT;  /* re-entrant strtok */
QVX_API char  **StringTokens(const char *text, const char *delimiters) QVX_NOEXCEPT;
QVX_API char   *StringInit(int32_t n, char c) QVX_NOEXCEPT;                 /* n copies of c */
QVX_API int32_t StringEncoding(const char *text) QVX_NOEXCEPT;  /* 0 ASCII, 1 UTF-8, 2 other bytes */
/* Every non-overlapping occurrence, left to right, over the original text. */
QVX_API char   *SubstituteString(char **text, const char *pattern, const char *replacement) QVX_NOEXCEPT;
QVX_API char   *SubstituteStringEqualSizes(char **text, const char *pattern, const char *replacement) QVX_NOEXCEPT;
QVX_API char   *RemoveCharacter(char **text, char c) QVX_NOEXCEPT;
QVX_API char   *RemoveCharacters(char **text, const char *set) QVX_NOEXCEPT;
QVX_API char   *ReverseS(const char *text) QVX_NOEXCEPT;
QVX_API char   *LowerCase(const char *text) QVX_NOEXCEPT;   /* ASCII letters only */
QVX_API char   *UpperCase(const char *text) QVX_NOEXCEPT;
QVX_API char   *InvertCase(const char *text) QVX_NOEXCEPT;
QVX_API char   *Trim(const char *text) QVX_NOEXCEPT;                    /* blanks, tabs, CR, LF */
QVX_API char   *TrimSub(const char *text, const char *set) QVX_NOEXCEPT;
QVX_API int32_t LeadingCharacters(const char *text, const char *set) QVX_NOEXCEPT;   /* count in set */
QVX_API int32_t TrailingCharacters(const char *text, const char *set) QVX_NOEXCEPT;
QVX_API int     AlphabeticStringComparator(const void *a, const void *b) QVX_NOEXCEPT; /* qsort, char * items */
QVX_API char   *CharToHex(unsigned char c) QVX_NOEXCEPT;        /* two upper-case digits */
QVX_API int32_t HexByteToDecimal(const char *text) QVX_NOEXCEPT;  /* first two digits; -1 if invalid */
QVX_API int32_t HexDigitToDecimal(char c) QVX_NOEXCEPT;
QVX_API char   *BinToAscii(const unsigned char *bytes, int32_t length) QVX_NOEXCEPT;  /* 8 digits a byte */
QVX_API char   *BinToAsciiB(unsigned char value) QVX_NOEXCEPT;
QVX_API char   *BinToAsciiI(uint32_t value) QVX_NOEXCEPT;
QVX_API char   *BinToAsciiL(const int32_t *v) QVX_NOEXCEPT;   /* 32 digits an element of a VectorL */
QVX_API int32_t TestValidUTF8String(const char *text) QVX_NOEXCEPT;
QVX_API int32_t UnicodeBytesToInteger(const char *text, int32_t *consumed) QVX_NOEXCEPT; /* -1 if invalid */
/* Byte arrays: unsigned char blocks with a separate length (Free). */
QVX_API char   *ByteArrayToString(const unsigned char *bytes, int32_t length) QVX_NOEXCEPT;
QVX_API unsigned char *StringToByteArray(const char *text, int32_t *length) QVX_NOEXCEPT;
QVX_API int32_t *ByteArrayToVectorL(const unsigned char *bytes, int32_t length) QVX_NOEXCEPT;
QVX_API uint32_t *ByteArrayToVectorUInt32(const unsigned char *bytes, int32_t length) QVX_NOEXCEPT; /* 4 bytes LE */
QVX_API unsigned char *VectorToByteArrayL(const int32_t *v, int32_t *length) QVX_NOEXCEPT;
QVX_API unsigned char *VectorToByteArrayUInt32(const uint32_t *v, int32_t *length) QVX_NOEXCEPT;
QVX_API int32_t *StringToVectorL(const char *text) QVX_NOEXCEPT;
QVX_API char   *VectorToStringL(const int32_t *v) QVX_NOEXCEPT;
QVX_API uint32_t MergeBytesToInt(const unsigned char *bytes) QVX_NOEXCEPT;            /* 4 bytes LE */
QVX_API void    SplitIntToBytes(uint32_t value, unsigned char *bytes) QVX_NOEXCEPT;
QVX_API void    SplitShortToBytes(uint16_t value, unsigned char *bytes) QVX_NOEXCEPT;
QVX_API char  **StringCombinations(const char *text, int32_t k) QVX_NOEXCEPT;  /* distinct, by position */
QVX_API char  **StringPermutations(const char *text) QVX_NOEXCEPT;            /* distinct, sorted */
/* String vectors: sorts are in place, in byte order (strcmp). */
QVX_API void    SortStringVector(char **v) QVX_NOEXCEPT;
QVX_API int32_t *SortStringVectorRef(char **v) QVX_NOEXCEPT;  /* VectorL of former 0-based indices */
QVX_API void    SortStringVectorSizes(char **v) QVX_NOEXCEPT; /* by length, then byte order */
QVX_API void    SortStringMatrix(char ***m, int32_t column) QVX_NOEXCEPT;  /* rows by one column */
QVX_API char  **RemoveDuplicateStrings(char **v) QVX_NOEXCEPT;
QVX_API int32_t TestElementS(char **v, const char *text) QVX_NOEXCEPT;
QVX_API int32_t NOccS(const char *text, const char *needle) QVX_NOEXCEPT;
QVX_API int32_t NOccWindowS(const char *text, const char *needle, int32_t first, int32_t last) QVX_NOEXCEPT;
QVX_API int32_t PosS(char **v, const char *text) QVX_NOEXCEPT;
QVX_API int32_t BinarySearchPosS(char **v, const char *text) QVX_NOEXCEPT;
QVX_API char   *FGetS(FILE *file) QVX_NOEXCEPT;  /* next line without its end; null at end of file */

/* File names ("/" and "\" both separate). Folders keep their final
 * separator. ConcatFilenameR puts the suffix before the extension
 * ("m.txt", "_REAL" -> "m_REAL.txt"), ConcatFilenameL the prefix before the
 * file name; AppendFilenameR rewrites an owned path the same way. */
QVX_API char   *Filename(const char *path) QVX_NOEXCEPT;
QVX_API char   *ChangeExtension(const char *path, const char *extension) QVX_NOEXCEPT;
QVX_API char   *AppendFilenameR(char **path, const char *suffix) QVX_NOEXCEPT;
QVX_API char   *ConcatFilenameL(const char *path, const char *prefix) QVX_NOEXCEPT;
QVX_API char   *ConcatFilenameR(const char *path, const char *suffix) QVX_NOEXCEPT;
QVX_API char   *GetDirectory(const char *path) QVX_NOEXCEPT;
QVX_API char   *ParentFolder(const char *path) QVX_NOEXCEPT;

/* Text and binary files. Text: one matrix row a line, "%.12E" elements
 * ("%d"/"%u" for integers) separated by a blank, no line end after the last
 * element of a file; matrices of a MatrixVector or VectorMatrix are blocks
 * separated by an empty line. Complex containers use four files, the path
 * with "_REAL", "_IMAGINARY", "_MODULUS", "_PHASE" before its extension;
 * loaders read the first two. "MV" form: a line "n c1 r1 ... cn rn", then
 * the rows; "VM" form: a line "m n k", then the rows. Binary (little-endian):
 * int32 counts (n; cols, rows; n matrices) then the elements column by
 * column. Writers return 1 on success, 0 on failure; loaders return an
 * empty container for a missing or unreadable file (LoadFileTo...: null). */
QVX_API char          *LoadFileToString(const char *path) QVX_NOEXCEPT;
QVX_API unsigned char *LoadFileToByteArray(const char *path, int32_t *length) QVX_NOEXCEPT;
QVX_API int32_t  WriteByteArray(const char *path, const unsigned char *bytes, int32_t length) QVX_NOEXCEPT;
QVX_API int32_t  WriteS(const char *path, const char *text) QVX_NOEXCEPT;       /* the whole file */
QVX_API int32_t  WriteString(const char *path, const char *text) QVX_NOEXCEPT;  /* appends text and "\n" */
QVX_API int32_t  Write(const char *path, double x) QVX_NOEXCEPT;
/* NRows: lines of the first matrix (up to an empty line); NCols: numbers on
 * its first line; StringRows: all lines; StringCols: most tokens on a line. */
QVX_API int32_t  NRows(const char *path) QVX_NOEXCEPT;
QVX_API int32_t  NCols(const char *path) QVX_NOEXCEPT;
QVX_API int32_t  StringRows(const char *path) QVX_NOEXCEPT;
QVX_API int32_t  StringCols(const char *path) QVX_NOEXCEPT;
/* Vectors: one element a line; loaders take every number of the file. */
QVX_API double  *LoadVector(const char *path) QVX_NOEXCEPT;
QVX_API Complex *LoadVectorC(const char *path) QVX_NOEXCEPT;
QVX_API int32_t *LoadVectorL(const char *path) QVX_NOEXCEPT;
QVX_API double  *LoadVectorBin(const char *path) QVX_NOEXCEPT;
QVX_API Complex *LoadVectorCBin(const char *path) QVX_NOEXCEPT;
QVX_API int32_t *LoadVectorLBin(const char *path) QVX_NOEXCEPT;
QVX_API int32_t  WriteVector(const char *path, const double *v) QVX_NOEXCEPT;
QVX_API int32_t  WriteVectorAbsC(const char *path, const Complex *v) QVX_NOEXCEPT;
QVX_API int32_t  WriteVectorBin(const char *path, const double *v) QVX_NOEXCEPT;
QVX_API int32_t  WriteVectorC(const char *path, const Complex *v) QVX_NOEXCEPT;
QVX_API int32_t  WriteVectorCBin(const char *path, const Complex *v) QVX_NOEXCEPT;
QVX_API int32_t  WriteVectorF(const char *path, const float *v) QVX_NOEXCEPT;
QVX_API int32_t  WriteVectorI(const char *path, const int32_t *v) QVX_NOEXCEPT;
QVX_API int32_t  WriteVectorL(const char *path, const int32_t *v) QVX_NOEXCEPT;
QVX_API int32_t  WriteVectorLBin(const char *path, const int32_t *v) QVX_NOEXCEPT;
/* Matrices: loaders take the first matrix of a file; short lines pad with 0. */
QVX_API double  **LoadMatrix(const char *path) QVX_NOEXCEPT;
QVX_API Complex **LoadMatrixC(const char *path) QVX_NOEXCEPT;
QVX_API int32_t **LoadMatrixL(const char *path) QVX_NOEXCEPT;   /* rounded, clamped to 32 bits */
QVX_API double  **LoadMatrixBin(const char *path) QVX_NOEXCEPT;
QVX_API Complex **LoadMatrixCBin(const char *path) QVX_NOEXCEPT;
QVX_API int32_t **LoadMatrixLBin(const char *path) QVX_NOEXCEPT;
QVX_API int32_t   WriteMatrix(const char *path, double **m) QVX_NOEXCEPT;
QVX_API int32_t   WriteMatrixUInt32(const char *path, uint32_t **m) QVX_NOEXCEPT;
QVX_API int32_t   WriteMatrixAbsC(const char *path, Complex **m) QVX_NOEXCEPT;
QVX_API int32_t   WriteMatrixBin(const char *path, double **m) QVX_NOEXCEPT;
QVX_API int32_t   WriteMatrixC(const char *path, Complex **m) QVX_NOEXCEPT;
QVX_API int32_t   WriteMatrixCBin(const char *path, Complex **m) QVX_NOEXCEPT;
QVX_API int32_t   WriteMatrixF(const char *path, float **m) QVX_NOEXCEPT;
QVX_API int32_t   WriteMatrixI(const char *path, int32_t **m) QVX_NOEXCEPT;
QVX_API int32_t   WriteMatrixL(const char *path, int32_t **m) QVX_NOEXCEPT;
QVX_API int32_t   WriteMatrixLBin(const char *path, int32_t **m) QVX_NOEXCEPT;
/* 1DC data sets: one sample a line, "x re im" (Err: a fourth column from
 * errors); the loader reads the first three columns into a MatrixC(2, n). */
QVX_API Complex **LoadMatrix1DC(const char *path) QVX_NOEXCEPT;
QVX_API int32_t   WriteMatrix1DC(const char *path, Complex **m) QVX_NOEXCEPT;
QVX_API int32_t   WriteMatrix1DCErr(const char *path, Complex **m, const double *errors) QVX_NOEXCEPT;
/* One matrix on an open stream: written with a final line end, read up to
 * the next empty line or the end. */
QVX_API double  **LoadOneMatrix(FILE *file) QVX_NOEXCEPT;
QVX_API int32_t   WriteOneMatrix(FILE *file, double **m) QVX_NOEXCEPT;
QVX_API double  ***LoadMatrixVector(const char *path) QVX_NOEXCEPT;
QVX_API double  ***LoadMatrixVectorBin(const char *path) QVX_NOEXCEPT;
QVX_API Complex ***LoadMatrixVectorC(const char *path) QVX_NOEXCEPT;
QVX_API int32_t ***LoadMatrixVectorL(const char *path) QVX_NOEXCEPT;
QVX_API int32_t    LoadMatrixVectorSize(const char *path) QVX_NOEXCEPT;  /* number of blocks */
QVX_API int32_t    WriteMatrixVector(const char *path, double ***mv) QVX_NOEXCEPT;
QVX_API int32_t    WriteMatrixVectorBin(const char *path, double ***mv) QVX_NOEXCEPT;
QVX_API int32_t    WriteMatrixVectorC(const char *path, Complex ***mv) QVX_NOEXCEPT;
QVX_API int32_t    WriteMatrixVectorL(const char *path, int32_t ***mv) QVX_NOEXCEPT;
/* Matrix t to the path with "_t" before its extension. */
QVX_API int32_t    WriteMatrixVectorFiles(const char *path, double ***mv) QVX_NOEXCEPT;
/* VectorMatrix loaders bring all elements to the largest shape among them.
 * 1D: m data sets sharing abscissas, one line a sample "x y1 .. ym"
 * (1DC: "x re1 im1 .. rem imm"). */
QVX_API double  ***LoadVectorMatrix(const char *path) QVX_NOEXCEPT;
QVX_API double  ***LoadVectorMatrixBin(const char *path) QVX_NOEXCEPT;
QVX_API Complex ***LoadVectorMatrixBinC(const char *path) QVX_NOEXCEPT;
QVX_API Complex ***LoadVectorMatrixC(const char *path) QVX_NOEXCEPT;
QVX_API double  ***LoadVectorMatrix1D(const char *path) QVX_NOEXCEPT;
QVX_API Complex ***LoadVectorMatrix1DC(const char *path) QVX_NOEXCEPT;
QVX_API int32_t    WriteVectorMatrix(const char *path, double ***vm) QVX_NOEXCEPT;
QVX_API int32_t    WriteVectorMatrixC(const char *path, Complex ***vm) QVX_NOEXCEPT;
QVX_API int32_t    WriteVectorMatrixBin(const char *path, double ***vm) QVX_NOEXCEPT;
QVX_API int32_t    WriteVectorMatrixBinC(const char *path, Complex ***vm) QVX_NOEXCEPT;
QVX_API int32_t    WriteVectorMatrix1D(const char *path, double ***vm) QVX_NOEXCEPT;
QVX_API int32_t    WriteVectorMatrix1DC(const char *path, Complex ***vm) QVX_NOEXCEPT;
QVX_API double  ***LoadMV(const char *path) QVX_NOEXCEPT;
QVX_API int32_t    LoadMVSize(const char *path) QVX_NOEXCEPT;
QVX_API int32_t   *LoadMVSpecs(const char *path) QVX_NOEXCEPT;  /* VectorL: n, c1, r1, ... */
QVX_API int32_t    WriteMV(const char *path, double ***mv) QVX_NOEXCEPT;
QVX_API double  ***LoadVM(const char *path) QVX_NOEXCEPT;
QVX_API int32_t    WriteVM(const char *path, double ***vm) QVX_NOEXCEPT;
/* Text containers: lines are strings (empty lines left out); in a
 * StringMatrix the lines are rows and blank-separated tokens columns. */
QVX_API char   **LoadStringVector(const char *path) QVX_NOEXCEPT;
QVX_API char   **LoadStringVectorN(const char *path, int32_t n) QVX_NOEXCEPT;  /* first n lines */
QVX_API char  ***LoadStringMatrix(const char *path) QVX_NOEXCEPT;
QVX_API int32_t  WriteStringVector(const char *path, char **v) QVX_NOEXCEPT;
QVX_API int32_t  WriteStringMatrix(const char *path, char ***m) QVX_NOEXCEPT;
/* Console: "%.3E" numbers; vectors one element a line, matrices one row a
 * line; PrintStringVectorArray prints n vectors, one a line. */
QVX_API void Print(double x) QVX_NOEXCEPT;
QVX_API void PrintC(Complex z) QVX_NOEXCEPT;
QVX_API void PrintF(float x) QVX_NOEXCEPT;
QVX_API void PrintI(int32_t i) QVX_NOEXCEPT;
QVX_API void PrintL(int32_t i) QVX_NOEXCEPT;
QVX_API void PrintNL(void) QVX_NOEXCEPT;
QVX_API void PrintS(const char *text) QVX_NOEXCEPT;
QVX_API void PrintVector(const double *v) QVX_NOEXCEPT;
QVX_API void PrintVectorC(const Complex *v) QVX_NOEXCEPT;
QVX_API void PrintVectorF(const float *v) QVX_NOEXCEPT;
QVX_API void PrintVectorI(const int32_t *v) QVX_NOEXCEPT;
QVX_API void PrintVectorL(const int32_t *v) QVX_NOEXCEPT;
QVX_API void PrintMatrix(double **m) QVX_NOEXCEPT;  /* one line a row, "%.3E " */
QVX_API void PrintMatrixC(Complex **m) QVX_NOEXCEPT;
QVX_API void PrintMatrixF(float **m) QVX_NOEXCEPT;
QVX_API void PrintMatrixI(int32_t **m) QVX_NOEXCEPT;
QVX_API void PrintMatrixL(int32_t **m) QVX_NOEXCEPT;
QVX_API void PrintMatrixVector(double ***mv) QVX_NOEXCEPT;
QVX_API void PrintMatrixVectorC(Complex ***mv) QVX_NOEXCEPT;
QVX_API void PrintStringMatrix(char ***m) QVX_NOEXCEPT;
QVX_API void PrintStringMatrixVector(char ****v) QVX_NOEXCEPT;
QVX_API void PrintStringVector(char **v) QVX_NOEXCEPT;
QVX_API void PrintStringVectorArray(char ***vectors, int32_t n) QVX_NOEXCEPT;

/* Hashes and encodings. Digests are lower-case hexadecimal texts; a null
 * text hashes as the empty one. */
QVX_API char    *SHA256(const char *text) QVX_NOEXCEPT;
QVX_API char    *SHA512(const char *text) QVX_NOEXCEPT;
QVX_API char    *SHA512FromByteArray(const unsigned char *bytes, uint32_t length) QVX_NOEXCEPT;
/* Base64 of the 64-byte SHA-512 digest; extra gives the two last characters
 * of the alphabet, pad the padding character (0: none). */
QVX_API char    *SHA512Base64(const char *text, const char *extra, char pad) QVX_NOEXCEPT;
/* Non-cryptographic 64-bit FNV-1a hashes; the L form is folded to 31 bits. */
QVX_API uint64_t HashFromByteArray(const unsigned char *bytes, uint32_t length) QVX_NOEXCEPT;
QVX_API uint64_t HashFromString(const char *text) QVX_NOEXCEPT;
QVX_API int32_t  HashFromStringL(const char *text) QVX_NOEXCEPT;
/* Salted hashes. Stored form: hex(salt) hex(SHA-512(text salt)) "%02x"(salt
 * length); length is the salt length, 0 to 255. Null on a malformed form. */
QVX_API char    *SaltedHash(const char *text, int32_t length) QVX_NOEXCEPT;
QVX_API char    *HashWithSalt(const char *text, const char *stored) QVX_NOEXCEPT;
QVX_API char    *SaltFromHash(const char *stored) QVX_NOEXCEPT;
QVX_API int32_t  TestAgainstSaltedHash(const char *text, const char *stored) QVX_NOEXCEPT;  /* 1 or 0 */
/* Base64 (RFC 4648). OptionalChars: the 62 letters and digits, then the two
 * characters of extra, padding pad (0: none). Triplet: count (1..3) bytes to
 * 4 characters in out, no terminator. Decoding returns length bytes and a
 * zero byte after them, null on invalid text. */
QVX_API char    *Base64Encoding(const unsigned char *bytes, uint32_t length) QVX_NOEXCEPT;
QVX_API char    *Base64EncodingOptionalChars(const unsigned char *bytes, uint32_t length,
                                             const char *extra, char pad) QVX_NOEXCEPT;
QVX_API void     Base64EncodingTriplet(const unsigned char *bytes, int32_t count, char *out) QVX_NOEXCEPT;
QVX_API unsigned char *Base64Decoding(const char *text, uint32_t *length) QVX_NOEXCEPT;
/* Seeds from text: SeedFrom4String packs the first four bytes big-endian;
 * SeedFromStringP is SeedFromString mapped to 1 .. 2^31 - 2. */
QVX_API int32_t  SeedFromString(const char *text) QVX_NOEXCEPT;
QVX_API int32_t  SeedFrom4String(const char *text) QVX_NOEXCEPT;
QVX_API int32_t  SeedFromStringP(const char *text) QVX_NOEXCEPT;
QVX_API uint32_t LeftRotate32(uint32_t x, int32_t k) QVX_NOEXCEPT;
QVX_API uint32_t RightRotate32(uint32_t x, int32_t k) QVX_NOEXCEPT;
QVX_API uint64_t LeftRotate64(uint64_t x, int32_t k) QVX_NOEXCEPT;
QVX_API uint64_t RightRotate64(uint64_t x, int32_t k) QVX_NOEXCEPT;
/* Random texts of n characters drawn with Ran2 from the seed cell:
 * AlphaNum [A-Za-z0-9]; AlphaNumP the same with a letter first; String bytes
 * 1..127; Printable 32..126; ExtASCII 128..255; CharSet characters of set;
 * Bracketed: open, n characters, close. IP fills buffer (n + 1 bytes);
 * IP2 overwrites the characters of text. */
QVX_API char    *RandomStringAlphaNum(int32_t n, int32_t *seed) QVX_NOEXCEPT;
QVX_API char    *RandomStringAlphaNumP(int32_t n, int32_t *seed) QVX_NOEXCEPT;
QVX_API void     RandomStringAlphaNumIP(char *buffer, int32_t n, int32_t *seed) QVX_NOEXCEPT;
QVX_API void     RandomStringAlphaNumIP2(char *text, int32_t *seed) QVX_NOEXCEPT;
QVX_API char    *RandomString(int32_t n, int32_t *seed) QVX_NOEXCEPT;
QVX_API char    *RandomPrintableString(int32_t n, int32_t *seed) QVX_NOEXCEPT;
QVX_API char    *RandomStringExtASCII(int32_t n, int32_t *seed) QVX_NOEXCEPT;
QVX_API char    *RandomStringCharSet(int32_t n, const char *set, int32_t *seed) QVX_NOEXCEPT;
QVX_API char    *RandomStringBracketed(int32_t n, int32_t *seed, char open, char close) QVX_NOEXCEPT;
QVX_API char    *RandomStringBracketedExtASCII(int32_t n, int32_t *seed, char open, char close) QVX_NOEXCEPT;

/* ======================================================================== */
/* Vector and matrix utilities and statistics                               */
/* ======================================================================== */

/* Every function that returns a container returns a new one and leaves its
 * arguments alone (the Swap forms of two scalars excepted). Numeric
 * positions are 1-based; positions in text vectors, text matrices and
 * texts are 0-based. Positions outside a container are clamped for an
 * insertion and ignored for a removal. A reduction of nothing is NaN (0 for
 * an integer result, 0 for a position); extremes skip NaN. Shapes that do
 * not fit give a 1 by 1 zero matrix. A Window is the index range [i1, i2]
 * of a vector, clamped, in either order. */

/* Scalar helpers. Wrap: x into [low, high) periodically (NaN for an empty
 * range). OverlapInterval: the length shared by two intervals (0 when
 * disjoint). OrderOfMagnitude10: floor(log10 |x|), 0 for 0;
 * OrderOfMagnitude1000: the multiple of 3 at or below it. HMSTime:
 * "hh:mm:ss" of rounded seconds (FreeString; null when not finite).
 * NormalizeC: z / |z| (0 stays 0). */
QVX_API double   Re(Complex z) QVX_NOEXCEPT;
QVX_API double   Im(Complex z) QVX_NOEXCEPT;
QVX_API void     Swap(double *a, double *b) QVX_NOEXCEPT;
QVX_API void     SwapC(Complex *a, Complex *b) QVX_NOEXCEPT;
QVX_API void     SwapL(int32_t *a, int32_t *b) QVX_NOEXCEPT;
QVX_API double   Wrap(double x, double low, double high) QVX_NOEXCEPT;
QVX_API double   Distance(double x1, double y1, double x2, double y2) QVX_NOEXCEPT;
QVX_API int32_t  InsideInterval(double x, double a, double b) QVX_NOEXCEPT;  /* 1 when x in [a, b] */
QVX_API double   OverlapInterval(double a1, double b1, double a2, double b2) QVX_NOEXCEPT;
QVX_API double   OrderOfMagnitude10(double x) QVX_NOEXCEPT;
QVX_API double   OrderOfMagnitude1000(double x) QVX_NOEXCEPT;
QVX_API char    *HMSTime(double seconds) QVX_NOEXCEPT;
QVX_API Complex  NormalizeC(Complex z) QVX_NOEXCEPT;
/* Colours: an int colour is 0xRRGGBB, as the pixels of an RGB matrix; red,
 * green, blue in [0, 255]; hue in degrees [0, 360), saturation and value in
 * [0, 1] (hexcone model). The vectors are Vector(3). */
QVX_API int32_t  RGBToint(int32_t r, int32_t g, int32_t b) QVX_NOEXCEPT;
QVX_API double  *IntToRGB(int32_t colour) QVX_NOEXCEPT;
QVX_API double  *RGBToHSV(double r, double g, double b) QVX_NOEXCEPT;
QVX_API double  *HSVToRGB(double h, double s, double v) QVX_NOEXCEPT;
QVX_API int32_t  HSVToint(double h, double s, double v) QVX_NOEXCEPT;
QVX_API double  *IntToHSV(int32_t colour) QVX_NOEXCEPT;

/* Real and imaginary parts. RealVMC: of each matrix of a complex
 * MatrixVector or VectorMatrix. MatrixVector2DC: the complex 2D data set
 * (values MatrixC(nx, ny), abscissas, ordinates; all zero). */
QVX_API double   *RealVC(const Complex *v) QVX_NOEXCEPT;
QVX_API double   *ImV(const Complex *v) QVX_NOEXCEPT;
QVX_API double  **RealMC(Complex **m) QVX_NOEXCEPT;
QVX_API double  **ImM(Complex **m) QVX_NOEXCEPT;
QVX_API double ***RealVMC(Complex ***vm) QVX_NOEXCEPT;
QVX_API Complex ***MatrixVector2DC(int32_t nx, int32_t ny) QVX_NOEXCEPT;

/* Editing vectors. Extend: length n, the first elements of v then zeros.
 * Augment: x appended. Join: a then b; JoinVectorM: the columns of m one
 * after another. InsertElement: x before position pos (1..n+1).
 * RemoveElement(s): every element equal to x (to any element of values; NaN
 * matches NaN). RemovePosition(s): positions given one or as a VectorL.
 * RemovePositionCh: a text without its character pos (FreeString).
 * RemoveDuplicates keeps first occurrences in order; ...Sorted drops
 * elements equal to their predecessor. Shift: circular, element i to i + k.
 * ReorderV: out[t] = v[order[t]], NaN for an unknown index. ZeroEndPoints
 * subtracts the straight line through the first and last values. */
QVX_API double   *ExtendVector(const double *v, int32_t n) QVX_NOEXCEPT;
QVX_API Complex  *ExtendVectorC(const Complex *v, int32_t n) QVX_NOEXCEPT;
QVX_API float    *ExtendVectorF(const float *v, int32_t n) QVX_NOEXCEPT;
QVX_API int32_t  *ExtendVectorI(const int32_t *v, int32_t n) QVX_NOEXCEPT;
QVX_API int32_t  *ExtendVectorL(const int32_t *v, int32_t n) QVX_NOEXCEPT;
QVX_API double   *AugmentVector(const double *v, double x) QVX_NOEXCEPT;
QVX_API Complex  *AugmentVectorC(const Complex *v, Complex z) QVX_NOEXCEPT;
QVX_API int32_t  *AugmentVectorL(const int32_t *v, int32_t x) QVX_NOEXCEPT;
QVX_API double   *JoinVector(const double *a, const double *b) QVX_NOEXCEPT;
QVX_API int32_t  *JoinVectorL(const int32_t *a, const int32_t *b) QVX_NOEXCEPT;
QVX_API double   *JoinVectorM(double **m) QVX_NOEXCEPT;
QVX_API double   *InsertElement(const double *v, double x, int32_t pos) QVX_NOEXCEPT;
QVX_API Complex  *InsertElementC(const Complex *v, Complex z, int32_t pos) QVX_NOEXCEPT;
QVX_API int32_t  *InsertElementL(const int32_t *v, int32_t x, int32_t pos) QVX_NOEXCEPT;
QVX_API uint32_t *InsertElementUInt32(const uint32_t *v, uint32_t x, int32_t pos) QVX_NOEXCEPT;
QVX_API double   *RemoveElement(const double *v, double x) QVX_NOEXCEPT;
QVX_API int32_t  *RemoveElementL(const int32_t *v, int32_t x) QVX_NOEXCEPT;
QVX_API double   *RemoveElements(const double *v, const double *values) QVX_NOEXCEPT;
QVX_API int32_t  *RemoveElementsL(const int32_t *v, const int32_t *values) QVX_NOEXCEPT;
QVX_API double   *RemovePosition(const double *v, int32_t pos) QVX_NOEXCEPT;
QVX_API int32_t  *RemovePositionL(const int32_t *v, int32_t pos) QVX_NOEXCEPT;
QVX_API uint32_t *RemovePositionUInt32(const uint32_t *v, int32_t pos) QVX_NOEXCEPT;
QVX_API double   *RemovePositions(const double *v, const int32_t *positions) QVX_NOEXCEPT;
QVX_API Complex  *RemovePositionsC(const Complex *v, const int32_t *positions) QVX_NOEXCEPT;
QVX_API char     *RemovePositionCh(const char *text, int32_t pos) QVX_NOEXCEPT;
QVX_API double   *RemoveDuplicates(const double *v) QVX_NOEXCEPT;
QVX_API double   *RemoveDuplicatesSorted(const double *v) QVX_NOEXCEPT;
QVX_API double   *ReverseV(const double *v) QVX_NOEXCEPT;
QVX_API Complex  *ReverseVC(const Complex *v) QVX_NOEXCEPT;
QVX_API double   *Shift(const double *v, int32_t k) QVX_NOEXCEPT;
QVX_API Complex  *ShiftC(const Complex *v, int32_t k) QVX_NOEXCEPT;
QVX_API double   *ReorderV(const double *v, const int32_t *order) QVX_NOEXCEPT;
QVX_API double   *ZeroEndPoints(const double *v) QVX_NOEXCEPT;

/* Text vectors (0-based; an empty or null text is never stored, since it
 * would end the vector). InsertElementSV inserts all texts of w. */
QVX_API char **InsertElementS(char **v, const char *text, int32_t pos) QVX_NOEXCEPT;
QVX_API char **InsertElementSV(char **v, char **w, int32_t pos) QVX_NOEXCEPT;
QVX_API char **RemovePositionS(char **v, int32_t pos) QVX_NOEXCEPT;
QVX_API char **RemovePositionsS(char **v, const int32_t *positions) QVX_NOEXCEPT;  /* VectorL of 0-based positions */
QVX_API char **IntersectionSV(char **a, char **b) QVX_NOEXCEPT;  /* texts of a also in b, once each */

/* Searches. Pos: the first position holding x (0: none; NaN finds NaN).
 * NOcc: the number of them. BinarySearchPosC: the last index whose real
 * part is at or below x in a VectorC of ascending real parts (0 below the
 * first or for NaN). */
QVX_API int32_t Pos(const double *v, double x) QVX_NOEXCEPT;
QVX_API int32_t PosC(const Complex *v, Complex z) QVX_NOEXCEPT;
QVX_API int32_t PosL(const int32_t *v, int32_t x) QVX_NOEXCEPT;
QVX_API int32_t NOcc(const double *v, double x) QVX_NOEXCEPT;
QVX_API int32_t NOccL(const int32_t *v, int32_t x) QVX_NOEXCEPT;
QVX_API int32_t BinarySearchPosC(const Complex *v, double x) QVX_NOEXCEPT;

/* Sets. Vectors as sets of values: results ascend, hold each value once and
 * leave NaN out; ComplementV is a minus b. Matrices as sets of rows (the M
 * forms): rows ascend lexicographically; column counts must agree.
 * MutuallyExclusive: 1 when a and b share no value. ComplementaryM: for
 * rows that are subsets of 1..n, the rows of missing numbers, ascending
 * (padded with 0). */
QVX_API double  *UnionV(const double *a, const double *b) QVX_NOEXCEPT;
QVX_API double  *IntersectionV(const double *a, const double *b) QVX_NOEXCEPT;
QVX_API double  *ComplementV(const double *a, const double *b) QVX_NOEXCEPT;
QVX_API double  *SymmetricDifferenceV(const double *a, const double *b) QVX_NOEXCEPT;
QVX_API int32_t  MutuallyExclusive(const double *a, const double *b) QVX_NOEXCEPT;
QVX_API double **UnionM(double **a, double **b) QVX_NOEXCEPT;
QVX_API double **IntersectionM(double **a, double **b) QVX_NOEXCEPT;
QVX_API double **ComplementM(double **a, double **b) QVX_NOEXCEPT;
QVX_API double **SymmetricDifferenceM(double **a, double **b) QVX_NOEXCEPT;
QVX_API double **ComplementaryM(double **m, int32_t n) QVX_NOEXCEPT;

/* Editing matrices. Col, Row: copies (length 0 outside). AugmentMatrixH:
 * [a b], row counts must agree; AugmentMatrixV: [a; b], column counts must
 * agree; the Join forms pad the smaller with zeros instead. A matrix with no
 * columns adds nothing. AppendMatrix: row appended at the bottom.
 * ExtendMatrix: the given shape, cut or zero-padded. InsertCol, InsertRow:
 * v before column (row) pos, cut or zero-padded to fit; InsertMatrix: the
 * columns of b before column pos of a. RemoveRows: the rows of a VectorL.
 * RemoveDuplicate...: the first of equal rows (columns) stays. Invert...:
 * reversed order. Shift...: circular, line i to i + k. */
QVX_API double   *Col(double **m, int32_t j) QVX_NOEXCEPT;
QVX_API double   *Row(double **m, int32_t i) QVX_NOEXCEPT;
QVX_API double  **AugmentMatrixH(double **a, double **b) QVX_NOEXCEPT;
QVX_API Complex **AugmentMatrixHC(Complex **a, Complex **b) QVX_NOEXCEPT;
QVX_API int32_t **AugmentMatrixHL(int32_t **a, int32_t **b) QVX_NOEXCEPT;
QVX_API double  **AugmentMatrixV(double **a, double **b) QVX_NOEXCEPT;
QVX_API Complex **AugmentMatrixVC(Complex **a, Complex **b) QVX_NOEXCEPT;
QVX_API int32_t **AugmentMatrixVL(int32_t **a, int32_t **b) QVX_NOEXCEPT;
QVX_API double  **JoinMatrixH(double **a, double **b) QVX_NOEXCEPT;
QVX_API int32_t **JoinMatrixHL(int32_t **a, int32_t **b) QVX_NOEXCEPT;
QVX_API double  **JoinMatrixV(double **a, double **b) QVX_NOEXCEPT;
QVX_API int32_t **JoinMatrixVL(int32_t **a, int32_t **b) QVX_NOEXCEPT;
QVX_API double  **AppendMatrix(double **m, const double *row) QVX_NOEXCEPT;
QVX_API double  **ExtendMatrix(double **m, int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API Complex **ExtendMatrixC(Complex **m, int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API float   **ExtendMatrixF(float **m, int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API int32_t **ExtendMatrixI(int32_t **m, int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API int32_t **ExtendMatrixL(int32_t **m, int32_t cols, int32_t rows) QVX_NOEXCEPT;
QVX_API double  **InsertCol(double **m, const double *v, int32_t pos) QVX_NOEXCEPT;
QVX_API Complex **InsertColC(Complex **m, const Complex *v, int32_t pos) QVX_NOEXCEPT;
QVX_API double  **InsertRow(double **m, const double *v, int32_t pos) QVX_NOEXCEPT;
QVX_API Complex **InsertRowC(Complex **m, const Complex *v, int32_t pos) QVX_NOEXCEPT;
QVX_API double  **InsertMatrix(double **a, double **b, int32_t pos) QVX_NOEXCEPT;
QVX_API double  **RemoveCol(double **m, int32_t j) QVX_NOEXCEPT;
QVX_API double  **RemoveRow(double **m, int32_t i) QVX_NOEXCEPT;
QVX_API double  **RemoveRows(double **m, const int32_t *rows) QVX_NOEXCEPT;
QVX_API double  **RemoveDuplicateRows(double **m) QVX_NOEXCEPT;
QVX_API double  **RemoveDuplicateCols(double **m) QVX_NOEXCEPT;
QVX_API double  **InvertCols(double **m) QVX_NOEXCEPT;
QVX_API Complex **InvertColsC(Complex **m) QVX_NOEXCEPT;
QVX_API double  **InvertRows(double **m) QVX_NOEXCEPT;
QVX_API Complex **InvertRowsC(Complex **m) QVX_NOEXCEPT;
QVX_API double  **SwapCols(double **m, int32_t a, int32_t b) QVX_NOEXCEPT;
QVX_API Complex **SwapColsC(Complex **m, int32_t a, int32_t b) QVX_NOEXCEPT;
QVX_API double  **SwapRows(double **m, int32_t a, int32_t b) QVX_NOEXCEPT;
QVX_API Complex **SwapRowsC(Complex **m, int32_t a, int32_t b) QVX_NOEXCEPT;
QVX_API int32_t **SwapRowsL(int32_t **m, int32_t a, int32_t b) QVX_NOEXCEPT;
QVX_API double  **ShiftCol(double **m, int32_t k) QVX_NOEXCEPT;
QVX_API Complex **ShiftColC(Complex **m, int32_t k) QVX_NOEXCEPT;
QVX_API double  **ShiftRow(double **m, int32_t k) QVX_NOEXCEPT;
QVX_API Complex **ShiftRowC(Complex **m, int32_t k) QVX_NOEXCEPT;
/* Text matrices (0-based): RemovePositionSM removes column pos, as
 * InsertElementSM inserts one; InsertRowS gives the other columns "0". */
QVX_API char ***RemoveColS(char ***m, int32_t j) QVX_NOEXCEPT;
QVX_API char ***RemoveRowS(char ***m, int32_t i) QVX_NOEXCEPT;
QVX_API char ***RemovePositionSM(char ***m, int32_t pos) QVX_NOEXCEPT;
QVX_API char ***RemoveDuplicateColsS(char ***m) QVX_NOEXCEPT;
QVX_API char ***InsertRowS(char ***m, char **row, int32_t pos) QVX_NOEXCEPT;
/* MatrixVectors of copies: m appended; a then b. */
QVX_API double ***AppendMatrixVector(double ***mv, double **m) QVX_NOEXCEPT;
QVX_API double ***JoinMatrixVector(double ***a, double ***b) QVX_NOEXCEPT;

/* Sorting, ascending and stable, NaN last. SortMatrix: rows by column col;
 * SortMatrix1DC: a 1DC set by abscissa; SortMatrixRows: rows
 * lexicographically; SortMatrixCols: columns lexicographically (complex:
 * real part, then imaginary); SortMatrixVector: matrices by keys[t]. */
QVX_API double   **SortMatrix(double **m, int32_t col) QVX_NOEXCEPT;
QVX_API int32_t  **SortMatrixL(int32_t **m, int32_t col) QVX_NOEXCEPT;
QVX_API uint32_t **SortMatrixUInt32(uint32_t **m, int32_t col) QVX_NOEXCEPT;
QVX_API Complex  **SortMatrix1DC(Complex **set) QVX_NOEXCEPT;
QVX_API double   **SortMatrixRows(double **m) QVX_NOEXCEPT;
QVX_API double   **SortMatrixCols(double **m) QVX_NOEXCEPT;
QVX_API Complex  **SortMatrixColsC(Complex **m) QVX_NOEXCEPT;
QVX_API double  ***SortMatrixVector(double ***mv, const double *keys) QVX_NOEXCEPT;

/* Extremes: complex forms by modulus, Pos forms give positions (first on
 * ties), Abs forms compare magnitudes. GetMin also stores the position. */
QVX_API Complex MaxC(const Complex *v) QVX_NOEXCEPT;
QVX_API Complex MinC(const Complex *v) QVX_NOEXCEPT;
QVX_API float   MaxF(const float *v) QVX_NOEXCEPT;
QVX_API float   MinF(const float *v) QVX_NOEXCEPT;
QVX_API int32_t MaxI(const int32_t *v) QVX_NOEXCEPT;
QVX_API int32_t MinI(const int32_t *v) QVX_NOEXCEPT;
QVX_API int32_t MaxL(const int32_t *v) QVX_NOEXCEPT;
QVX_API int32_t MinL(const int32_t *v) QVX_NOEXCEPT;
QVX_API double  MaxM(double **m) QVX_NOEXCEPT;
QVX_API double  MinM(double **m) QVX_NOEXCEPT;
QVX_API Complex MaxMC(Complex **m) QVX_NOEXCEPT;
QVX_API Complex MinMC(Complex **m) QVX_NOEXCEPT;
QVX_API int32_t MaxML(int32_t **m) QVX_NOEXCEPT;
QVX_API int32_t MinML(int32_t **m) QVX_NOEXCEPT;
QVX_API int32_t MaxPos(const double *v) QVX_NOEXCEPT;
QVX_API int32_t MinPos(const double *v) QVX_NOEXCEPT;
QVX_API int32_t MaxPosAbs(const double *v) QVX_NOEXCEPT;
QVX_API int32_t MinPosAbs(const double *v) QVX_NOEXCEPT;
QVX_API int32_t MaxPosAbsC(const Complex *v) QVX_NOEXCEPT;
QVX_API int32_t MinPosL(const int32_t *v) QVX_NOEXCEPT;
QVX_API double  GetMin(const double *v, int32_t *pos) QVX_NOEXCEPT;  /* pos may be null */
QVX_API double  MinAbs(const double *v) QVX_NOEXCEPT;
QVX_API double  MinWindow(const double *v, int32_t i1, int32_t i2) QVX_NOEXCEPT;
QVX_API double  MostFrequent(const double *v) QVX_NOEXCEPT;  /* the smallest of equally frequent values */

/* Statistics. Sample forms divide by n - 1 (NaN below two values; lengths
 * must agree). MeanV, StandardDeviationV: element-wise over the columns of
 * m, one value a row; MeanM: element-wise over the matrices of a
 * MatrixVector of one shape. WeightedMean: sum w v / sum w. */
QVX_API double   MeanAbs(const double *v) QVX_NOEXCEPT;
QVX_API double   MeanAbsC(const Complex *v) QVX_NOEXCEPT;
QVX_API double  *MeanV(double **m) QVX_NOEXCEPT;
QVX_API double **MeanM(double ***mv) QVX_NOEXCEPT;
QVX_API double   StandardDeviation(const double *v) QVX_NOEXCEPT;
QVX_API double  *StandardDeviationV(double **m) QVX_NOEXCEPT;
QVX_API double   Covariance(const double *a, const double *b) QVX_NOEXCEPT;
QVX_API double   CorrelationCoefficient(const double *a, const double *b) QVX_NOEXCEPT;  /* Pearson */
QVX_API double   WeightedMean(const double *v, const double *w) QVX_NOEXCEPT;
QVX_API double   WeightedMeanWindow(const double *v, const double *w, int32_t i1, int32_t i2) QVX_NOEXCEPT;

/* Profiles: a vector of samples at abscissas 1..n, or a 1D set (D; DC a 1DC
 * set). Moment: sum x^k w / sum w, the samples as weights (AbsC: |v|; DC:
 * |y|^2); MomentWindowD limits the abscissas to [x1, x2]. Norm: Euclidean.
 * NormalizeVMax: v over its largest magnitude (the Window forms: the
 * largest within the window); NormalizeD: ordinates to unit trapezoid
 * area. FWHM: full width at half maximum of the highest peak in samples,
 * crossings interpolated linearly (NaN when a side never falls to half);
 * FWHMC of |v|, FWHMIntensityC of |v|^2. */
QVX_API double   Moment(const double *v, int32_t k) QVX_NOEXCEPT;
QVX_API double   MomentWindow(const double *v, int32_t k, int32_t i1, int32_t i2) QVX_NOEXCEPT;
QVX_API double   MomentAbsC(const Complex *v, int32_t k) QVX_NOEXCEPT;
QVX_API double   MomentAbsWindowC(const Complex *v, int32_t k, int32_t i1, int32_t i2) QVX_NOEXCEPT;
QVX_API double   MomentD(double **set, int32_t k) QVX_NOEXCEPT;
QVX_API double   MomentWindowD(double **set, int32_t k, double x1, double x2) QVX_NOEXCEPT;
QVX_API double   MomentDC(Complex **set, int32_t k) QVX_NOEXCEPT;
QVX_API double   Norm(const double *v) QVX_NOEXCEPT;
QVX_API double   NormC(const Complex *v) QVX_NOEXCEPT;
QVX_API double   NormWindow(const double *v, int32_t i1, int32_t i2) QVX_NOEXCEPT;
QVX_API double  *NormalizeVMax(const double *v) QVX_NOEXCEPT;
QVX_API Complex *NormalizeVMaxC(const Complex *v) QVX_NOEXCEPT;
QVX_API double  *NormalizeWindowV(const double *v, int32_t i1, int32_t i2) QVX_NOEXCEPT;
QVX_API Complex *NormalizeWindowVC(const Complex *v, int32_t i1, int32_t i2) QVX_NOEXCEPT;
QVX_API double **NormalizeD(double **set) QVX_NOEXCEPT;
QVX_API double   FWHM(const double *v) QVX_NOEXCEPT;
QVX_API double   FWHMC(const Complex *v) QVX_NOEXCEPT;
QVX_API double   FWHMIntensityC(const Complex *v) QVX_NOEXCEPT;
QVX_API double   FWHMWindow(const double *v, int32_t i1, int32_t i2) QVX_NOEXCEPT;

/* Counting. Histogram: counts in n equal bins over [low, high] (high in the
 * last bin). HistogramD: a 1D set of bin centres and counts over the range
 * of v. GetNPts: the number of elements in [a, b]. */
QVX_API double  *Histogram(const double *v, double low, double high, int32_t n) QVX_NOEXCEPT;
QVX_API double **HistogramD(const double *v, int32_t n) QVX_NOEXCEPT;
QVX_API int32_t  GetNPts(const double *v, double a, double b) QVX_NOEXCEPT;

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

#ifdef __cplusplus
}
#endif
#endif /* LIBQUORVEX_H */