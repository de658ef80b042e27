// Threads, tasks and events: the one synchronisation model of the system.
//
// Nothing but the GUI thread touches controls. Long work runs on an MThread or as
// MTask items of an MTaskGroup; it reaches the GUI by MEvent::Post, whose entries
// the GUI timer delivers with ExecuteAllPending. Lock order: a thread's or a
// group's `lock` may be held when the global lock is taken; the global lock is
// never held while a listener runs.
#pragma once

#include "foundation/event.h"
#include "foundation/global_lock.h"
#include "foundation/lock.h"
#include "foundation/pending_list.h"
#include "foundation/semaphore.h"
#include "foundation/task.h"
#include "foundation/task_group.h"
#include "foundation/task_thread.h"
#include "foundation/thread.h"
