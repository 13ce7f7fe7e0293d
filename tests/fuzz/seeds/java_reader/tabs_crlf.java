package a;
class T {
	int f(int a) {
		if(a) return 1; else return 2;
	}
}
