// The list callers get trigger keys in: a doubly linked list with a cursor. It holds element
// values (pointers, for callers) and never deletes what they point to.
//
// Callers reach it through its table of virtual functions in the order below, with the
// destructor's two entries last, and iterate with the cursor:
//
//     for (list->begin(); list->hasNext(); list->movenext()) use(list->get());
//
// Not thread-safe: one thread at a time.
#pragma once

#include <stdint.h>

namespace odk {

template <typename T>
class List {
  public:
    List() : m_Count(0), m_Cursor(&m_Sentinel) {
        m_Sentinel.prev = &m_Sentinel;
        m_Sentinel.next = &m_Sentinel;
    }
    List(const List&) = delete;
    List& operator=(const List&) = delete;

    // Appends a copy of `value` at the end.
    virtual void push_back(const T& value) {
        Node* node = new Node;
        node->value = value;
        node->prev = m_Sentinel.prev;
        node->next = &m_Sentinel;
        m_Sentinel.prev->next = node;
        m_Sentinel.prev = node;
        ++m_Count;
    }

    virtual uint32_t size() const { return static_cast<uint32_t>(m_Count); }

    virtual bool empty() const { return m_Count == 0; }

    // Frees every node, not what the elements point to. The cursor is left where it was, so
    // iteration must restart with begin.
    virtual void clear() {
        Node* node = m_Sentinel.next;
        while (node != &m_Sentinel) {
            Node* next = node->next;
            delete node;
            node = next;
        }
        m_Sentinel.prev = &m_Sentinel;
        m_Sentinel.next = &m_Sentinel;
        m_Count = 0;
    }

    // Moves the cursor to the first element and returns it; on an empty list the cursor is
    // past the end and the result must not be used.
    virtual T& begin() {
        m_Cursor = m_Sentinel.next;
        return m_Cursor->value;
    }

    virtual void movenext() { m_Cursor = m_Cursor->next; }

    // Whether the cursor is on an element; it does not look ahead.
    virtual bool hasNext() { return m_Cursor != &m_Sentinel; }

    // The element at the cursor, writable.
    virtual T& get() { return m_Cursor->value; }

    // Frees the node at the cursor. The cursor is left on the freed node, so iteration must
    // restart with begin. Past the end it does nothing.
    virtual void remove() {
        if (m_Cursor == &m_Sentinel) return;
        m_Cursor->prev->next = m_Cursor->next;
        m_Cursor->next->prev = m_Cursor->prev;
        delete m_Cursor;
        --m_Count;
    }

    virtual ~List() { clear(); }

  private:
    struct Node {
        Node* prev = nullptr;
        Node* next = nullptr;
        T value{};
    };

    Node m_Sentinel;
    uint64_t m_Count;
    Node* m_Cursor;
};

}  // namespace odk
