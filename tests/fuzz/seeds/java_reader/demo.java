/*
 * Copyright 2024 Someone
 */
package org.demo;

import java.util.List;import java.util.Map;

/**
 * the main class of the demo.
 *
 * second paragraph <b>here</b>.
 * - Know How One.
 */
public abstract class Demo<T> extends Base<T> implements Runnable, java.io.Serializable {
	int count(int a) {
		if (a > 0) return a; else return -a;
	}
	public static void main(String[] args) {
		for (int i = 0; i < 3; i++) System.out.println("x<y" + '"');
		// System.out.println("dbg");
		while(true) break;
	}
	/*---------------*/
	static class Inner implements Runnable {
		public void run() { }
	}
	// insert custom code [  -- here
	/* START OF PROTECTED */
	private int kept = 1;
	/* END OF PROTECTED */
	record P(int x, int y) implements Comparable<P> { }
	Demo(int a) { f(a); }
}
