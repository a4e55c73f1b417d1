/* Each traced function has a slot: the calls of calls.h by their numbers, then three that the recorder times but does
   not record as calls. Assembly includes this too. */
#ifndef ORVA_TRACING_RECORDER_SLOTS_H
#define ORVA_TRACING_RECORDER_SLOTS_H

#define ORVA_TRACE_CALLS 30
#define ORVA_TRACE_LOCK ORVA_TRACE_CALLS
#define ORVA_TRACE_UNLOCK (ORVA_TRACE_CALLS + 1)
#define ORVA_TRACE_LOCK_OR_THROW (ORVA_TRACE_CALLS + 2)
#define ORVA_TRACE_SLOTS (ORVA_TRACE_CALLS + 3)
#define ORVA_TRACE_THUNK_SIZE 16

#endif
