/* The one lookup Python hosts make by the thousand, compiled: the call into
 * libtarvplaces with the interpreter lock released, and the Place record
 * made from the struct in C. Made through ctypes, the record costs more
 * than the lookup, and while it is made the lock is held, so two threads
 * queued on it instead of looking up side by side.
 *
 * The module never links the library: bind() hands it the address of the
 * tarv_place_lookup that ctypes loaded, so both paths use one library.
 * Answers with clock changes or nearby zones, rare, are left to the Python
 * code (place() returns TARV_OK and the struct holds them), which keeps one
 * definition of those parts of the record. */
#define PY_SSIZE_T_CLEAN
#include <Python.h>
#include <stdint.h>
#include <string.h>

#include "tarvplaces/tarvplaces.h"

typedef tarv_status (*LookupFunction)(tarv_atlas*, const char*, const char*, const tarv_local_time*,
                                      tarv_place*, int32_t*);

/* What bind() was given; read and written with the interpreter lock held. */
typedef struct {
  LookupFunction lookup;
  PyTypeObject* place_type; /* tarvplaces.Place */
  PyObject* kinds;          /* _LOCAL_TIME_KINDS */
  PyObject* offset;         /* _offset(seconds) -> timedelta */
  PyObject* source;         /* _source_of(kind, iana, tzdata, before_1970) -> Source */
  tarv_source last_source;  /* the source last made, and its record */
  PyObject* last_source_record;
} Bound;

static Bound bound;

static PyObject* bind(PyObject* module, PyObject* args) {
  (void)module;
  unsigned long long address = 0;
  PyObject *place_type = NULL, *kinds = NULL, *offset = NULL, *source = NULL;
  if (!PyArg_ParseTuple(args, "KO!O!OO:bind", &address, &PyType_Type, &place_type, &PyTuple_Type,
                        &kinds, &offset, &source)) {
    return NULL;
  }
  if (address == 0 || !PyType_IsSubtype((PyTypeObject*)place_type, &PyTuple_Type)) {
    PyErr_SetString(PyExc_ValueError, "bind: a function address and a tuple type are needed");
    return NULL;
  }
  bound.lookup = (LookupFunction)(uintptr_t)address;
  Py_INCREF(place_type);
  Py_XSETREF(bound.place_type, (PyTypeObject*)place_type);
  Py_INCREF(kinds);
  Py_XSETREF(bound.kinds, kinds);
  Py_INCREF(offset);
  Py_XSETREF(bound.offset, offset);
  Py_INCREF(source);
  Py_XSETREF(bound.source, source);
  Py_CLEAR(bound.last_source_record);
  Py_RETURN_NONE;
}

/* A NUL-ended text of a fixed-size field (never read past the field). */
static PyObject* Text(const char* field, size_t size) {
  const char* end = memchr(field, '\0', size);
  return PyUnicode_DecodeUTF8(field, end != NULL ? end - field : (Py_ssize_t)size, "strict");
}

#define TEXT(field) Text((field), sizeof(field))

static PyObject* NewRef(PyObject* object) {
  Py_INCREF(object);
  return object;
}

static PyObject* Offset(int32_t seconds) {
  PyObject* number = PyLong_FromLong(seconds);
  if (number == NULL) return NULL;
  PyObject* offset = PyObject_CallOneArg(bound.offset, number);
  Py_DECREF(number);
  return offset;
}

static PyObject* SourceOf(const tarv_source* s) {
  if (bound.last_source_record != NULL && memcmp(s, &bound.last_source, sizeof *s) == 0) {
    Py_INCREF(bound.last_source_record);
    return bound.last_source_record;
  }
  PyObject* made = PyObject_CallFunction(bound.source, "iy#y#i", (int)s->kind, s->iana,
                                         (Py_ssize_t)sizeof s->iana, s->tzdata_version,
                                         (Py_ssize_t)sizeof s->tzdata_version, (int)s->before_1970);
  if (made != NULL) {
    bound.last_source = *s;
    Py_INCREF(made);
    Py_XSETREF(bound.last_source_record, made);
  }
  return made;
}

enum { kPlaceFields = 25 };

/* The Place of a struct without clock changes or nearby zones, in the
 * order of the record's fields. */
static PyObject* PlaceOf(const tarv_place* p) {
  if (p->local_time < 0 || p->local_time >= PyTuple_GET_SIZE(bound.kinds)) {
    PyErr_Format(PyExc_ValueError, "unknown local time kind %d", (int)p->local_time);
    return NULL;
  }
  /* Taken before any Python code runs (which might bind again). */
  PyObject* kind = NewRef(PyTuple_GET_ITEM(bound.kinds, p->local_time));
  /* Made one by one, stopping at the first failure: no Python code may run
   * with an exception pending. */
  PyObject* values[kPlaceFields] = {NULL};
  int made = 0;
#define PUT(value)                                     \
  do {                                                 \
    if ((values[made++] = (value)) == NULL) goto fail; \
  } while (0)
  PUT(TEXT(p->name));
  PUT(TEXT(p->country));
  PUT(PyFloat_FromDouble(p->longitude));
  PUT(PyFloat_FromDouble(p->latitude));
  PUT(PyLong_FromLong(p->timetable));
  PUT(PyLong_FromLong(p->zone_id));
  PUT(TEXT(p->zone));
  PUT(TEXT(p->zone_name));
  PUT(Offset(p->utc_offset));
  PUT(PyBool_FromLong(p->is_lmt));
  PUT(kind);
  kind = NULL;
  PUT(PyBool_FromLong(p->user_place));
  PUT(TEXT(p->iana));
  PUT(TEXT(p->tz_abbreviation));
  PUT(TEXT(p->zone_long_name));
  PUT(PyBool_FromLong(p->own_history));
  PUT(TEXT(p->country_name));
  PUT(TEXT(p->country_iso));
  PUT(PyLong_FromLongLong(p->population));
  PUT(PyBool_FromLong(p->other_name));
  PUT(NewRef(Py_None)); /* zone_here: only nearest() asks for it */
  PUT(PyTuple_New(0));  /* readings */
  PUT(NewRef(Py_None)); /* gap */
  PUT(SourceOf(&p->source));
  PUT(PyTuple_New(0)); /* near_zones */
#undef PUT
  /* A tuple subclass made as tuple.__new__ makes it: allocated, then filled. */
  PyObject* record = bound.place_type->tp_alloc(bound.place_type, kPlaceFields);
  if (record == NULL) goto fail;
  for (int i = 0; i < kPlaceFields; ++i)
    PyTuple_SET_ITEM(record, i, values[i]);
  return record;
fail:
  for (int i = 0; i < made; ++i)
    Py_XDECREF(values[i]);
  Py_XDECREF(kind);
  return NULL;
}

/* A writable buffer of exactly `size` bytes (a ctypes struct), or NULL. */
static int StructBuffer(PyObject* object, Py_ssize_t size, Py_buffer* view, const char* what) {
  if (PyObject_GetBuffer(object, view, PyBUF_WRITABLE | PyBUF_C_CONTIGUOUS) < 0) return 0;
  if (view->len != size) {
    PyErr_Format(PyExc_TypeError, "%s: a buffer of %zd bytes is needed, not %zd", what, size,
                 view->len);
    PyBuffer_Release(view);
    return 0;
  }
  return 1;
}

/* place(handle, name, country, when, struct): the Place, or the status as
 * an int when there is no record to give here (TARV_OK: made in Python from
 * the filled struct). `name` and `country` are UTF-8 bytes (country may be
 * None), `when` a LocalTime struct or None, `struct` a PlaceStruct. */
static PyObject* place(PyObject* module, PyObject* args) {
  (void)module;
  unsigned long long handle = 0;
  const char* name = NULL;
  const char* country = NULL;
  Py_ssize_t country_size = 0;
  PyObject *when = NULL, *out = NULL;
  if (!PyArg_ParseTuple(args, "Kyz#OO:place", &handle, &name, &country, &country_size, &when,
                        &out)) {
    return NULL;
  }
  if (bound.lookup == NULL) {
    PyErr_SetString(PyExc_RuntimeError, "place: bind() was not called");
    return NULL;
  }
  Py_buffer place_view, when_view = {0};
  if (!StructBuffer(out, (Py_ssize_t)sizeof(tarv_place), &place_view, "place")) return NULL;
  const int dated = when != Py_None;
  if (dated && !StructBuffer(when, (Py_ssize_t)sizeof(tarv_local_time), &when_view, "when")) {
    PyBuffer_Release(&place_view);
    return NULL;
  }
  tarv_place* found = place_view.buf;
  const tarv_local_time* local = dated ? when_view.buf : NULL;
  tarv_atlas* atlas = (tarv_atlas*)(uintptr_t)handle;
  const LookupFunction lookup = bound.lookup; /* read with the lock held */
  tarv_status status;
  Py_BEGIN_ALLOW_THREADS;
  status = lookup(atlas, name, country, local, found, NULL);
  Py_END_ALLOW_THREADS;
  PyObject* result;
  if (status != TARV_OK || found->reading_count != 0 || found->has_gap != 0 ||
      found->near_count != 0) {
    result = PyLong_FromLong(status);
  } else {
    result = PlaceOf(found);
  }
  if (dated) PyBuffer_Release(&when_view);
  PyBuffer_Release(&place_view);
  return result;
}

static PyMethodDef kMethods[] = {
    {"bind", bind, METH_VARARGS,
     "bind(lookup_address, Place, local_time_kinds, offset, source_of): what place() uses."},
    {"place", place, METH_VARARGS,
     "place(handle, name, country, when, struct): the Place, or the status as an int."},
    {NULL, NULL, 0, NULL},
};

static struct PyModuleDef kModule = {
    PyModuleDef_HEAD_INIT,
    "_lookup",
    "The compiled lookup of tarvplaces.Atlas.place.",
    -1,
    kMethods,
    NULL,
    NULL,
    NULL,
    NULL,
};

PyMODINIT_FUNC PyInit__lookup(void) {
  return PyModule_Create(&kModule);
}
