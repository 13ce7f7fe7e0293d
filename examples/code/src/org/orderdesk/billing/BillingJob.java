package org.orderdesk.billing;

import java.util.Collections;
import java.util.List;

/**
 * What every job of the billing shares: its day and the deliveries of it.
 */
public abstract class BillingJob {

   protected final String day;

   protected BillingJob(String day) {
      this.day = day;
   }

   /** The deliveries of the day; none in the sample. */
   protected List<Delivery> deliveries() {
      return Collections.emptyList();
   }
}
