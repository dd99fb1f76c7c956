// The page server in cloud backend mode, for builds whose backend is the desktop cloud runtime.
import { runPageServer } from './lib/page-server.mjs';

runPageServer('cloud');
