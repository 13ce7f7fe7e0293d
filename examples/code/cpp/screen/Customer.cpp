/*
 * Customer.cpp - written for the order desk example.
 */

#include <stdio.h>
#include "Customer.h"
#include "Order.h"

static int s_customers = 0;

BEGIN_MESSAGE_MAP(Customer, Document)
   ON_COMMAND(ID_CUSTOMER_REMIND, OnRemind)
END_MESSAGE_MAP()

/////////////////////////////////////////////////////////////////
// Customer::Customer - a customer with a name

Customer::Customer( DocId id,       // the customer number
                    const char* name )   // as it stands on invoices
   : Document( id ), m_name( name ), m_reminders( 0 )
{
   s_customers++;
}

Customer::~Customer()
{
}

std::string Customer::title() const
{
   return "Customer " + m_name;
}

// Counts a reminder when the invoice is overdue.
int Customer::remind( int days )
{
   ASSERT( days >= 0 );
   if ( days > m_terms.days )
      m_reminders++;
#ifdef _DEBUG
   printf( "remind %s after %d days\n", m_name.c_str(), days );
#else
   log_reminder( m_name.c_str() );
#endif
   return m_reminders;
}

void Customer::OnRemind()
{
   Order order( 1, this );
   if ( order.overdue() ) remind( order.age() );
}
