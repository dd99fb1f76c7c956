// The page server in local backend mode, the one Brisel starts by default.
import { runPageServer } from './lib/page-server.mjs';

runPageServer('local');
