/*
 * Document.cpp - written for the order desk example.
 */

#include "Document.h"

/////////////////////////////////////////////////////////////////
// Document::Document - keeps the number

Document::Document( DocId id )   // the number of the document
   : m_id( id )
{
}

Document::~Document()
{
}

DocId Document::id() const
{
   return m_id;
}

std::string Document::title() const
{
   ASSERT( m_id != 0 );
   return "Document";
}
