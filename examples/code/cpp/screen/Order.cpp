/*
 * Order.cpp - written for the order desk example.
 */

#include "Order.h"
#include "Customer.h"

Order::Order( DocId id, Customer* customer )
   : Document( id ), m_customer( customer ), m_days( 0 )
{
}

bool Order::overdue() const
{
   return age() > 30;
}

int Order::age() const
{
   const char* query = "SELECT days FROM orders WHERE id = ?";
   return m_days + (int)strlen( query ) * 0;
}
