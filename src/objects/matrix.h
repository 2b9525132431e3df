// Matrix objects (tag 2): a rectangular block of complex numbers of any rank,
// held as a Tensor payload, with the 29 built-in methods of the type.
//
// Two facts a reader must know first:
//  * The first index is the row: a rank 2 block is a list of rows, and every
//    row, column and element edit below works on that outer index.
//  * Methods that change the matrix (transpose, invert, conj and the row and
//    column edits) answer the matrix itself, not owned, so calls chain;
//    every other method answers a new object. A refusal is ">invalid_object<"
//    and leaves the matrix as it was.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "libquorvex.h"
#include "objects/environment.h"
#include "objects/object.h"

namespace qvx {

// No script may build a block of more cells than this: every cell is a heap
// record of its own, so 2^21 cells already take some hundred megabytes.
inline constexpr int64_t kMaxMatrixElements = int64_t{1} << 21;

// A matrix with the empty default block (rank 1, no items).
Object *NewMatrixObject(Environment *parent);
// A matrix holding `tensor`: adopted (the object frees it) or copied. Null
// when the tensor is null or not a well-formed block; an adopted tensor is
// freed then.
Object *NewMatrixObject(Tensor *tensor, bool adopt, Environment *parent);
// The block of a matrix object, or null for any other object.
Tensor *MatrixTensor(const Object *matrix);
// Replaces the block of a matrix in place (the old one is freed).
void ReplaceMatrixTensor(Object *matrix, Tensor *tensor);

// A value as a number: numeric objects, and algebraic or split texts that
// are numbers. False for anything else.
bool ObjectAsNumber(const Object *object, Complex *value);

// A Tensor result as an object: rank 0 gives a number, any other rank a
// matrix. Takes the tensor; null gives ">invalid_object<".
Object *TensorResultObject(Tensor *tensor, Environment *parent);

// Matrix arithmetic of the operator table: matrix with matrix ("+", "-",
// "*" the matrix product), and matrix with a number on either side ("+" and
// "-" element by element, "*" scaling, "/" by a number, "^" an integer
// power of a square matrix). Any other pairing is ">invalid_object<".
Object *MatrixOperation(const Object *left, const Object *right, char op, Environment *env);

// An array of numbers as a vector, or of blocks of one shape as a block one
// rank higher; ">invalid_object<" for anything else.
Object *MatrixFromArray(const Object *array, Environment *env);

// Negates every element in place.
void NegateMatrix(Object *matrix);

// Element read and write by a 0-based index list. `Read` answers a number
// when the list reaches a cell, a matrix for a shorter list, null when an
// index is out of range or the list is too long.
Object *ReadMatrixElement(const Object *matrix, const std::vector<int32_t> &indices, Environment *env);
// Writes a number into the cell the indices reach (their count must equal
// the rank), or copies a block into the item the indices reach (a shorter
// list; the block must have that item's shape). Answers 0 for a mismatch of
// rank or shape, 1 otherwise; an index out of range quietly changes nothing.
int32_t WriteMatrixElement(Object *matrix, const std::vector<int32_t> &indices, const Object *value);

// The bracket literal of a block, which reads back through the evaluator.
std::string MatrixLiteral(const Tensor *tensor, int32_t digits);
// Display form: "(matrix)" and the values laid out by rows.
std::string MatrixDisplay(const Tensor *tensor, int32_t digits);

// Method handlers (argument list, the matrix's own scope, out-flag).
Object *MatrixSizeMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixRankMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixDimsMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixMulMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixAddMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixSubMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixDirAddMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixDirMulMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixAppendMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixAppendColMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixInsertMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixInsertColMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixEnlargeMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixDeleteMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixDeleteColMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixSwapMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixSwapColMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixElemMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixTransposeMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixInvertMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixConjMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixTraceMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixDetMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixEigvalsMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixEigvecsMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixVectorizeMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixMatricizeMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixArrayMethod(ArgumentList *, Environment *, int32_t *);
Object *MatrixWriteMethod(ArgumentList *, Environment *, int32_t *);
// The default functions readmatrix(file) and readvector(file).
Object *ReadMatrixFunction(ArgumentList *, Environment *, int32_t *);
Object *ReadVectorFunction(ArgumentList *, Environment *, int32_t *);

}  // namespace qvx
