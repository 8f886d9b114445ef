import { TvProvider } from '@ostrel/tv/react';
import { StrictMode } from 'react';
import { createRoot } from 'react-dom/client';
import { App } from './App';
import { Failed } from './Failed';
import './tokens.css';
import './base.css';
import { tv } from './service';
import { applyTheme } from './settings';
import { measureOnWaking } from './wake';

applyTheme();
measureOnWaking();
createRoot(document.getElementById('page')!).render(
  <StrictMode>
    <TvProvider tv={tv}>
      <Failed>
        <App />
      </Failed>
    </TvProvider>
  </StrictMode>,
);
